// DocumentStore: rows of the documents table and the names of documents.
// The table is keyed by order key; a document is found by its stable id
// through the key it was stored at or, if re-spacing moved it, through the
// moved table.  New small documents are queued and written in groups of up
// to 64 rows per statement, which costs SQLite about a third less than a
// statement per row; every method here writes the queue out before it
// touches the table, and so must any other class before its own SQL on the
// table (Flush).  It knows nothing of how keys are chosen (DocumentOrder),
// the full-text index (SearchIndex) or entries (FormStore).
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ks::engine {

class Connection;

class DocumentStore {
 public:
  explicit DocumentStore(Connection& connection) : connection_(connection) {}

  // Inserts a document at order key `seq` with its whole text; its id is
  // `seq`, which the caller has made sure no moved document holds.  Small
  // documents are queued: the row is written by the next Flush.
  uint64_t Insert(int64_t seq, int32_t kind, std::string_view body);
  // As Insert, but the row is written now: for documents whose other rows
  // (attachments, entry details) are written in the same savepoint.
  uint64_t InsertNow(int64_t seq, int32_t kind, std::string_view body);
  // Writes the queued rows.  Call before any SQL of one's own on the table,
  // before a commit, and before a savepoint (a queued row written inside a
  // savepoint would be undone with it).
  void Flush();
  // Forgets the queued rows (their transaction was lost).
  void DropQueued() noexcept;
  // As Insert, for a text of `size` bytes written afterwards with a BodyWriter.
  uint64_t InsertSized(int64_t seq, int32_t kind, uint64_t size);

  // Appends bytes to a document's text.
  void Append(uint64_t id, std::string_view more);
  // Appends the concatenation of a query's rows (column "piece") and then
  // `tail`.  Used for a large staged text; SQLite assembles it in one pass.
  void AppendConcatenation(uint64_t id, const char* pieces_query, std::string_view tail);
  void SetBody(uint64_t id, std::string_view body);
  void SetKind(uint64_t id, int32_t kind);

  // Order key of a document; none when there is no such document.
  std::optional<int64_t> Seq(uint64_t id);
  bool Exists(uint64_t id) { return Seq(id).has_value(); }
  // KSENG_KIND_* of a document; 0 when there is none.
  int32_t Kind(uint64_t id);
  // Text length; throws KSENG_ERR_NO_DOCUMENT.
  uint64_t Length(uint64_t id);
  // See Database::ReadText.
  uint64_t ReadBody(uint64_t id, char* buffer, uint64_t size);
  std::string Body(uint64_t id);
  // The first `limit` bytes of the text.
  std::string BodyHead(uint64_t id, uint64_t limit);

  std::string Name(uint64_t id);
  void SetName(uint64_t id, std::string_view name);
  // First document in database order named `name` (0: none).
  uint64_t FindNamed(std::string_view name);

  uint64_t First();
  uint64_t Next(uint64_t current);

  // Moves the document at order key `from` to the free key `to`.
  void Move(int64_t from, int64_t to);
  // True when some document was ever moved (ids then need checking).
  bool AnyMoved();
  // The nearest key to `key`, going up (or down), that no moved document
  // holds as its id, so that a new document at that key may take it as id.
  int64_t FreeIdUpFrom(int64_t key);
  int64_t FreeIdDownFrom(int64_t key);

 private:
  // A queued row; its text is at [offset, offset + size) of queued_text_.
  struct QueuedRow {
    int64_t seq;
    int32_t kind;
    size_t offset;
    size_t size;
  };

  void InsertRow(int64_t seq, int32_t kind, std::string_view body);

  Connection& connection_;
  std::vector<QueuedRow> queued_;  // rows not yet written, in order
  std::string queued_text_;        // their texts, one after the other
};

// Writes a text of known size into the row made by InsertSized, piece by
// piece, through SQLite's incremental blob I/O: the text never has to be in
// memory whole.
class BodyWriter {
 public:
  BodyWriter(Connection& connection, int64_t seq);
  ~BodyWriter();
  BodyWriter(const BodyWriter&) = delete;
  BodyWriter& operator=(const BodyWriter&) = delete;

  void Write(std::string_view bytes);

 private:
  Connection& connection_;
  sqlite3_blob* blob_ = nullptr;  // owned
  uint64_t offset_ = 0;           // next byte to write
};

}  // namespace ks::engine
