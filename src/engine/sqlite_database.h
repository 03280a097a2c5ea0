// SqliteDatabase: the Database of one .kst file, an SQLite database.  It
// composes the stores (documents, order, forms, attachments, settings,
// search), owns the write batch and the adding state of its handle, and
// keeps the invariants that span stores: one document is written whole or
// not at all, the full-text index hears of every text change, and a batch
// lost to an I/O error leaves no stale caches behind.
//
// Implementation files: sqlite_database_open.cpp (create, open, close),
// sqlite_database.cpp (reading, names, settings, search),
// sqlite_database_add.cpp (the adding protocol and placement),
// sqlite_database_entries.cpp (forms and entries),
// sqlite_database_copy.cpp (records for copying).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/attachment_store.h"
#include "engine/database.h"
#include "engine/document_order.h"
#include "engine/document_store.h"
#include "engine/engine_error.h"
#include "engine/form_store.h"
#include "engine/pending_document.h"
#include "engine/search_index.h"
#include "engine/settings_store.h"
#include "engine/sqlite_connection.h"
#include "engine/write_batch.h"

namespace ks::engine {

// Sizes that trade memory for speed; tests shrink them to reach edge cases.
struct EngineTuning {
  // Key distance between documents added at an end.  The full-text index
  // stores each document's id as a difference from the previous one, so a
  // small gap keeps the index small (a third smaller than with 2^32); the
  // derived chain step (16) and re-spacing distance (256) still leave room
  // for thousands of documents placed between two others.
  int64_t order_gap = int64_t{1} << 16;
  size_t pending_limit = size_t{1} << 20;  // pending text in memory before status 6
  size_t append_limit = size_t{1} << 20;   // appended text held before it is written
  BatchLimits batch;                       // when a write batch commits
  // Page cache of a writable connection, in KiB.  Bulk imports touch the tail
  // of the tables and indexes; a larger cache saves re-reading them.  A batch
  // larger than the cache spills pages into the file before its commit.
  int64_t cache_kib = 32768;
  // Unindexed text at a commit from which its index is built on several
  // threads (parallel_index.h) rather than by the writer alone; below it the
  // threads cost more than they save.
  uint64_t parallel_index_bytes = uint64_t{8} << 20;
  // Threads of such a build; 0: one per processor, at most four.
  unsigned index_threads = 0;
};

struct Credentials {
  std::string login_group;
  std::string password;
};

class SqliteDatabase final : public Database {
 public:
  // Creates an empty database file at `path`.  login_group and password are
  // both empty (unprotected) or both given.  The file appears complete or not
  // at all: it is built under a temporary name and renamed into place.
  // Throws KSENG_ERR_EXISTS when the file exists and replace is false.
  static void Create(const std::string& path, std::string_view login_group,
                     std::string_view password, bool replace);

  // Opens a database (access KSENG_ACCESS_*).  Every check (file, schema
  // version, protection) is made on a read-only connection before anything
  // can be written, so a refused open leaves the file as it was.  A protected
  // database needs `credentials` (KSENG_ERR_PASSWORD_REQUIRED, or
  // KSENG_ERR_PASSWORD_WRONG when they do not match).  A writable open
  // brings an older schema up to date and indexes unindexed documents.
  static std::unique_ptr<SqliteDatabase> Open(const std::string& path, int32_t access,
                                              int32_t share,
                                              const std::optional<Credentials>& credentials,
                                              const EngineTuning& tuning = {});

  ~SqliteDatabase() override;

  const std::string& Path() const override { return path_; }
  bool Writable() const override { return writable_; }
  void Close() override;

  char FieldMarker() override;
  void SetFieldMarker(char marker) override;
  DisplaySettings Display() override;

  char BeginAdd() override;
  uint32_t EndAdd(uint64_t last_id) override;
  bool HasPendingDocument() const override { return pending_.active(); }
  void StartDocument(DocumentStart start) override;
  AddStatus AddText(std::string_view text) override;
  void DiscardPending() override { pending_.Clear(); }
  AddStatus FlushPending() override;
  uint64_t SaveDocument(std::string_view anchor_name, std::string_view last_piece) override;
  void AttachForm(std::string_view form_name) override;

  uint64_t CreateForm(std::string_view name, const std::vector<std::string>& fields) override;
  uint64_t CreateEntry(uint64_t form, char marker, std::string_view text,
                       const Placement& placement) override;
  void WriteFields(uint64_t entry, const std::vector<FieldValue>& fields) override;
  std::vector<FieldValue> Fields(uint64_t id) override;
  uint64_t EntryForm(uint64_t entry) override;

  uint64_t Find(int32_t kind, std::string_view name) override;
  uint64_t First(Walk walk) override;
  uint64_t Next(uint64_t current, Walk walk) override;
  uint64_t Count(Walk walk) override;
  int32_t Kind(uint64_t id) override;
  uint64_t ReadText(uint64_t id, char* buffer, uint64_t size) override;
  std::string Text(uint64_t id) override;
  std::string Name(uint64_t id) override;
  void SetName(uint64_t id, std::string_view name) override;
  void SetCurrent(uint64_t id) override;
  uint64_t Current() const override { return current_; }

  uint32_t AttachmentCount(uint64_t id) override;
  AttachmentInfo Attachment(uint64_t id, uint32_t index) override;
  uint64_t ReadAttachment(uint64_t id, uint32_t index, void* buffer, uint64_t size) override;

  std::vector<uint64_t> Search(std::string_view query) override;

  DocumentRecord ReadRecord(uint64_t id) override;
  uint64_t InsertRecord(const DocumentRecord& record, const Placement& placement) override;

 private:
  // Where a placement resolved to.
  struct Target {
    enum How { kEnd, kTop, kAfter, kAppend } how = kEnd;
    uint64_t id = 0;  // the anchor (kAfter) or the document appended to (kAppend)
  };

  SqliteDatabase(std::unique_ptr<Connection> connection, std::string path, bool writable,
                 int32_t share, const EngineTuning& tuning);

  // Runs `body` inside the write batch, beginning it when needed.  When a
  // failure made SQLite roll the whole batch back, forgets everything that
  // described it.
  template <typename Body>
  auto Writing(Body&& body) -> decltype(body());
  void LoseBatch() noexcept;
  // Writes text held back for a run of appends; every read of text, every
  // commit and every other kind of write comes after this.
  void Settle();
  void CommitBatch();
  // Indexes what is unindexed in a transaction of its own and commits it.
  void IndexAndCommit();
  // Indexes the documents above the watermark on several threads when there
  // is enough of their text, and commits; anything it leaves (a small run,
  // the to-do list, a build that failed) is left to IndexAndCommit.
  void IndexInParallel();
  // Another writable connection to the file, set up as the database's own.
  std::unique_ptr<Connection> OpenSecondWriter() const;
  // Counts a stored document toward the batch and commits a full batch.
  void CountStored(uint64_t bytes, bool new_document);

  Target Resolve(const Placement& placement, bool may_append);
  int64_t KeyFor(const Target& target);
  uint64_t StorePending(const Target& target);
  uint64_t AppendPending(uint64_t target);
  void QueueAppend(uint64_t target, std::string_view text);
  uint64_t MakeForm(std::string_view name, const std::vector<std::string>& fields);
  // Fields of an entry in text order, with the entry's stored details.
  std::vector<FieldValue> EntryFieldsInTextOrder(const EntryInfo& info, uint64_t id);

  std::unique_ptr<Connection> connection_;  // first member: the stores refer to it
  std::string path_;                        // full absolute path
  bool writable_;
  int32_t share_mode_;  // recorded; SQLite's locks decide sharing
  EngineTuning tuning_;

  SettingsStore settings_;
  DocumentStore documents_;
  SearchIndex search_;  // before order_, which tells it about re-spacing
  DocumentOrder order_;
  FormStore forms_;
  AttachmentStore attachments_;
  WriteBatch batch_;
  PendingDocument pending_;

  std::optional<char> marker_;   // field marker, read on first use
  uint64_t current_ = 0;         // the handle's current document
  uint64_t last_saved_ = 0;      // last document made by SaveDocument (for AttachForm)
  uint32_t added_in_run_ = 0;    // documents made since BeginAdd / EndAdd
  uint32_t added_in_batch_ = 0;  // of those, made in the open batch
  uint64_t append_target_ = 0;   // document that append_text_ belongs to
  std::string append_text_;      // appended text not yet written
  bool closed_ = false;
};

}  // namespace ks::engine

namespace ks::engine {

template <typename Body>
auto SqliteDatabase::Writing(Body&& body) -> decltype(body()) {
  Require(writable_, KSENG_ERR_READONLY, "database is open for reading only");
  // What was remembered about the order may be stale once another process
  // could have written between our transactions.
  if (batch_.Begin()) {
    order_.Forget();
    search_.Forget();
  }
  try {
    return body();
  } catch (...) {
    if (!connection_->InTransaction()) LoseBatch();
    throw;
  }
}

}  // namespace ks::engine
