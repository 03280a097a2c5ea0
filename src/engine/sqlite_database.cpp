// SqliteDatabase: batch bookkeeping, settings, reading, walking, names,
// attachments and search.
#include "engine/sqlite_database.h"

#include <algorithm>
#include <exception>
#include <thread>

#include "engine/engine_error.h"
#include "engine/fts_rowids.h"
#include "engine/fts_segments.h"
#include "engine/parallel_index.h"

namespace ks::engine {

// ---- Batch bookkeeping

void SqliteDatabase::LoseBatch() noexcept {
  // SQLite rolled the batch back (I/O error, disk full): whatever described
  // its content is wrong now.
  batch_.Abandon();
  documents_.DropQueued();
  order_.Forget();
  search_.Forget();
  pending_.Clear();
  append_target_ = 0;
  append_text_.clear();
  marker_.reset();
  added_in_run_ -= std::min(added_in_run_, added_in_batch_);
  added_in_batch_ = 0;
}

void SqliteDatabase::Settle() {
  documents_.Flush();
  if (append_text_.empty()) return;
  Writing([&] {
    search_.BeforeTextChange(append_target_);
    documents_.Append(append_target_, append_text_);
  });
  append_text_.clear();
  if (append_text_.capacity() > 4 * tuning_.append_limit) std::string().swap(append_text_);
}

void SqliteDatabase::CommitBatch() {
  if (!writable_) return;
  Settle();
  if (added_in_batch_ != 0) {
    // The count is kept rather than counted: counting would read the whole
    // documents table.  It changes in the transaction that adds them.
    Writing([&] {
      settings_.SetInt(setting::kDocumentCount,
                       settings_.Int(setting::kDocumentCount).value_or(0) + added_in_batch_);
    });
  }
  try {
    batch_.Commit();
  } catch (...) {
    // The commit was rolled back (no room for it, an I/O error): the batch
    // is lost like one a statement lost, and so are its documents' counts.
    LoseBatch();
    throw;
  }
  added_in_batch_ = 0;
}

void SqliteDatabase::IndexAndCommit() {
  Writing([&] { search_.CatchUp(); });
  batch_.Commit();
}

void SqliteDatabase::IndexInParallel() {
  if (!writable_ || batch_.open() || tuning_.parallel_index_bytes == 0) return;
  unsigned threads = tuning_.index_threads;
  if (threads == 0) threads = std::min(4u, std::thread::hardware_concurrency());
  if (threads < 2) return;
  const int64_t watermark = settings_.Int(setting::kIndexedThrough).value_or(0);
  {
    // length() of a stored value reads its size, not its bytes; the sizes
    // are read only until they reach the threshold.
    auto pending = connection_->Prepared("SELECT length(body) FROM documents WHERE seq > ?1");
    pending->BindInt(1, watermark);
    uint64_t bytes = 0;
    while (bytes < tuning_.parallel_index_bytes && pending->Step()) {
      bytes += static_cast<uint64_t>(pending->Int(0));
    }
    if (bytes < tuning_.parallel_index_bytes) return;
  }
  try {
    // The segments are moved in by a connection of its own: FTS5 keeps what
    // it read of its index for as long as the file does not change under
    // it, and only another connection's commit tells it that it did.  Its
    // write lock also keeps other writers out while the workers read.
    std::unique_ptr<Connection> writer = OpenSecondWriter();
    writer->Exec("BEGIN IMMEDIATE");
    SettingsStore settings(*writer);
    const int64_t indexed = settings.Int(setting::kIndexedThrough).value_or(0);
    int64_t from;
    int64_t through;
    bool placed_ids;
    {
      // The workers share out the keys from the first unindexed one on, in
      // a second pass for documents placed between others, when any are.
      auto range = writer->Prepared("SELECT min(seq) - 1, max(seq), max(" KS_FTS_PLACED_IDS("id")
                                    ") FROM documents WHERE seq > ?1");
      range->BindInt(1, indexed);
      range->Step();
      if (range->IsNull(1)) return;  // another process indexed them meanwhile
      from = range->Int(0);
      through = range->Int(1);
      placed_ids = range->Int(2) != 0;
    }
    // The page cache of this connection is not needed while the workers
    // fill theirs.
    sqlite3_db_release_memory(connection_->get());
    std::vector<std::unique_ptr<Connection>> shards =
        ParallelIndexBuild(FileUri(path_, true), threads).Build(from, through, placed_ids);
    for (const std::unique_ptr<Connection>& shard : shards) GraftFtsSegments(*writer, *shard);
    settings.SetInt(setting::kIndexedThrough, through);
    writer->Exec("COMMIT");
  } catch (...) {
    // Nothing was committed (closing the connection rolled it back): the
    // writer indexes the documents itself, and reports what stops it.
  }
  search_.Forget();
}

void SqliteDatabase::CountStored(uint64_t bytes, bool new_document) {
  if (new_document) {
    ++added_in_run_;
    ++added_in_batch_;
  }
  batch_.Count(bytes);
  if (batch_.Full()) CommitBatch();
}

// ---- Settings

char SqliteDatabase::FieldMarker() {
  if (!marker_) {
    marker_ = static_cast<char>(settings_.Int(setting::kFieldMarker).value_or('['));
  }
  return *marker_;
}

void SqliteDatabase::SetFieldMarker(char marker) {
  Require(marker > ' ' && marker < 0x7f, KSENG_ERR_ARGUMENT,
          "field marker must be a printable, non-blank character");
  Writing([&] { settings_.SetInt(setting::kFieldMarker, marker); });
  marker_ = marker;
}

DisplaySettings SqliteDatabase::Display() {
  return settings_.Display();
}

// ---- Reading and walking

uint64_t SqliteDatabase::Find(int32_t kind, std::string_view name) {
  switch (kind) {
    case KSENG_KIND_TEXT:
      return documents_.FindNamed(name);
    case KSENG_KIND_FORM:
      return forms_.FindForm(name);
    default:
      throw EngineError(KSENG_ERR_ARGUMENT, "find takes kind 1 (documents) or 2 (forms)");
  }
}

uint64_t SqliteDatabase::First(Walk walk) {
  switch (walk) {
    case Walk::kDocuments:
      return documents_.First();
    case Walk::kForms:
      return forms_.FirstForm();
  }
  throw EngineError(KSENG_ERR_ARGUMENT, "unknown walk");
}

uint64_t SqliteDatabase::Next(uint64_t current, Walk walk) {
  switch (walk) {
    case Walk::kDocuments:
      return documents_.Next(current);
    case Walk::kForms:
      return forms_.NextForm(current);
  }
  throw EngineError(KSENG_ERR_ARGUMENT, "unknown walk");
}

uint64_t SqliteDatabase::Count(Walk walk) {
  switch (walk) {
    case Walk::kDocuments:
      return static_cast<uint64_t>(settings_.Int(setting::kDocumentCount).value_or(0)) +
             added_in_batch_;
    case Walk::kForms:
      return forms_.CountForms();
  }
  throw EngineError(KSENG_ERR_ARGUMENT, "unknown walk");
}

int32_t SqliteDatabase::Kind(uint64_t id) {
  if (forms_.IsForm(id)) return KSENG_KIND_FORM;
  int32_t kind = documents_.Kind(id);
  Require(kind != 0, KSENG_ERR_NO_DOCUMENT, "no such document");
  return kind;
}

uint64_t SqliteDatabase::ReadText(uint64_t id, char* buffer, uint64_t size) {
  Settle();
  return documents_.ReadBody(id, buffer, size);
}

std::string SqliteDatabase::Text(uint64_t id) {
  Settle();
  return documents_.Body(id);
}

std::string SqliteDatabase::Name(uint64_t id) {
  return forms_.IsForm(id) ? forms_.FormName(id) : documents_.Name(id);
}

void SqliteDatabase::SetName(uint64_t id, std::string_view name) {
  Writing([&] {
    if (forms_.IsForm(id)) {
      Require(!name.empty(), KSENG_ERR_ARGUMENT, "an entry form keeps a name");
      forms_.RenameForm(id, name);
    } else {
      documents_.SetName(id, name);
    }
  });
}

void SqliteDatabase::SetCurrent(uint64_t id) {
  Require(id == 0 || documents_.Exists(id), KSENG_ERR_NO_DOCUMENT, "no such document in the walk");
  current_ = id;
}

// ---- Attachments

uint32_t SqliteDatabase::AttachmentCount(uint64_t id) {
  Kind(id);
  return attachments_.Count(id);
}

AttachmentInfo SqliteDatabase::Attachment(uint64_t id, uint32_t index) {
  Kind(id);
  return attachments_.Info(id, index);
}

uint64_t SqliteDatabase::ReadAttachment(uint64_t id, uint32_t index, void* buffer, uint64_t size) {
  Kind(id);
  return attachments_.Read(id, index, buffer, size);
}

// ---- Search

std::vector<uint64_t> SqliteDatabase::Search(std::string_view query) {
  if (writable_) {
    // The writer indexes first, inside its batch, and then needs no scratch.
    return Writing([&] {
      Settle();
      search_.CatchUp();
      return search_.Search(query, false);
    });
  }
  ReadSnapshot snapshot(*connection_);
  return search_.Search(query, true);
}

}  // namespace ks::engine
