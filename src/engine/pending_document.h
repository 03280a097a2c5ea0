// PendingDocument: the document being added, between its first piece and its
// final save.  Text is gathered in memory; past a limit the caller is asked
// to save (status 6) and the text so far is staged in a temporary table,
// which lives in SQLite's temporary storage, never in the database file, so
// memory stays bounded however long the document is.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "engine/database.h"

namespace ks::engine {

class Connection;

class PendingDocument {
 public:
  PendingDocument(Connection& connection, size_t memory_limit)
      : connection_(connection), memory_limit_(memory_limit) {}

  bool active() const { return active_; }
  // Begins a document.  `head` is text that precedes the pieces (the field
  // lines of an entry made with field values).
  void Start(DocumentStart start, std::string_view head);
  void Add(std::string_view text);
  // True when the text in memory has reached the limit.
  bool WantsFlush() const { return memory_.size() >= memory_limit_; }
  // Moves the text in memory to the staging table.
  void Flush();

  const DocumentStart& start() const { return start_; }
  // Length of the text of the field lines given at Start.
  uint64_t head_size() const { return head_size_; }
  // Total length of the text: staged plus in memory.
  uint64_t size() const { return staged_bytes_ + memory_.size(); }
  bool staged() const { return staged_pieces_ > 0; }
  std::string_view memory_text() const { return memory_; }
  // The start of the text, at least `limit` bytes of it when there are.
  std::string Head(uint64_t limit);
  // Calls `sink` with each staged piece, in order, then with the text in memory.
  void ForEachPiece(const std::function<void(std::string_view)>& sink);
  // A query over the staged pieces (column "piece", in order) for SQL that
  // assembles them itself.
  static const char* StagedPiecesQuery();

  // Ends the document: forgets its text and settings.  Staged rows are
  // deleted now or, if that fails, before the next document stages any.
  void Clear() noexcept;

 private:
  void DeleteStaged();

  Connection& connection_;
  size_t memory_limit_;        // text kept in memory before status 6
  bool active_ = false;        // a document is pending
  DocumentStart start_;        // what its first piece fixed
  uint64_t head_size_ = 0;     // field lines at the start of the text
  std::string memory_;         // text not yet staged
  uint64_t staged_bytes_ = 0;  // text in the staging table
  uint64_t staged_pieces_ = 0;
  bool stale_rows_ = false;  // the staging table may hold rows of a dropped document
  bool table_made_ = false;  // temp.staged_text exists
};

}  // namespace ks::engine
