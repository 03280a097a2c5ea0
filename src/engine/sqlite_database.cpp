// SqliteDatabase: batch bookkeeping, settings, reading, walking, names,
// attachments and search.
#include "engine/sqlite_database.h"

#include "engine/engine_error.h"

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
