// SqliteDatabase: the adding protocol (runs, pending documents, final save),
// placement of new documents and appends to existing ones.
#include <algorithm>

#include "engine/engine_error.h"
#include "engine/field_lines.h"
#include "engine/sqlite_database.h"

namespace ks::engine {
namespace {

// How much of a document's start is read to find its field lines.
constexpr uint64_t kFieldLinesLimit = 64 * 1024;

// Drops the pending document when the scope ends, unless told to keep it.
class PendingEnd {
 public:
  explicit PendingEnd(PendingDocument& pending) : pending_(pending) {}
  ~PendingEnd() {
    if (!keep_) pending_.Clear();
  }
  PendingEnd(const PendingEnd&) = delete;
  PendingEnd& operator=(const PendingEnd&) = delete;

  void Keep() { keep_ = true; }

 private:
  PendingDocument& pending_;
  bool keep_ = false;
};

// Field values as given, without cleared ones; a later value of the same
// name replaces an earlier one in its place.
std::vector<FieldValue> GivenValues(const std::vector<FieldValue>& fields) {
  std::vector<FieldValue> values;
  for (const FieldValue& field : fields) {
    if (!field.value) continue;
    auto same = std::find_if(values.begin(), values.end(),
                             [&](const FieldValue& v) { return v.name == field.name; });
    if (same != values.end()) {
      same->value = field.value;
    } else {
      values.push_back(field);
    }
  }
  return values;
}

}  // namespace

// ---- Runs

char SqliteDatabase::BeginAdd() {
  Require(writable_, KSENG_ERR_READONLY, "database is open for reading only");
  added_in_run_ = 0;
  return FieldMarker();
}

uint32_t SqliteDatabase::EndAdd(uint64_t last_id) {
  Require(writable_, KSENG_ERR_READONLY, "database is open for reading only");
  if (last_id != 0) Kind(last_id);
  CommitBatch();
  IndexInParallel();
  IndexAndCommit();
  uint32_t added = added_in_run_;
  added_in_run_ = 0;
  return added;
}

// ---- Pending document

void SqliteDatabase::StartDocument(DocumentStart start) {
  Require(writable_, KSENG_ERR_READONLY, "database is open for reading only");
  Require(!pending_.active(), KSENG_ERR_STATE, "a document is already pending");
  std::string head;
  if (start.form != 0) {
    Require(forms_.IsForm(start.form), KSENG_ERR_NO_DOCUMENT, "no such entry form");
  } else {
    Require(start.kind == KSENG_KIND_TEXT || start.kind == KSENG_KIND_RICHTEXT, KSENG_ERR_ARGUMENT,
            "a document is text (1) or rich text (4)");
  }
  if (start.fields) {
    // An entry made with field values: its text starts with their lines.
    std::vector<FieldValue> values = GivenValues(*start.fields);
    std::vector<std::string> form_fields;
    if (start.form != 0) form_fields = forms_.FormFields(start.form);
    head = ComposeFieldLines(OrderForForm(values, form_fields), FieldMarker());
    start.fields = std::move(values);
  }
  pending_.Start(std::move(start), head);
}

AddStatus SqliteDatabase::AddText(std::string_view text) {
  Require(pending_.active(), KSENG_ERR_STATE, "no document is pending");
  PendingEnd drop_on_failure(pending_);
  pending_.Add(text);
  drop_on_failure.Keep();
  return pending_.WantsFlush() ? AddStatus::kSaveFirst : AddStatus::kTaken;
}

AddStatus SqliteDatabase::FlushPending() {
  Require(pending_.active(), KSENG_ERR_STATE, "no document is pending");
  PendingEnd drop_on_failure(pending_);
  pending_.Flush();
  drop_on_failure.Keep();
  return AddStatus::kTaken;
}

uint64_t SqliteDatabase::SaveDocument(std::string_view anchor_name, std::string_view last_piece) {
  Require(pending_.active(), KSENG_ERR_STATE, "nothing was added to save");
  PendingEnd done(pending_);
  pending_.Add(last_piece);
  return Writing([&] {
    Placement placement = pending_.start().placement;
    placement.anchor_name.assign(anchor_name);
    Target target = Resolve(placement, true);
    uint64_t id = target.how == Target::kAppend ? AppendPending(target.id) : StorePending(target);
    last_saved_ = id;
    return id;
  });
}

// ---- Placement

SqliteDatabase::Target SqliteDatabase::Resolve(const Placement& placement, bool may_append) {
  bool append = may_append && placement.location == KSENG_LOC_END_OF_CURRENT;
  auto next_to = [&](uint64_t id) { return Target{append ? Target::kAppend : Target::kAfter, id}; };
  if (placement.anchor != 0) return next_to(placement.anchor);
  switch (placement.location) {
    case KSENG_LOC_AFTER_CURRENT:
    case KSENG_LOC_END_OF_CURRENT:
      return current_ != 0 ? next_to(current_) : Target{Target::kEnd, 0};
    case KSENG_LOC_AFTER_NAMED: {
      if (placement.anchor_name.empty()) return Target{Target::kEnd, 0};
      uint64_t named = documents_.FindNamed(placement.anchor_name);
      Require(named != 0, KSENG_ERR_NO_DOCUMENT, "no document of that name");
      return Target{Target::kAfter, named};
    }
    case KSENG_LOC_TOP:
      return Target{Target::kTop, 0};
    default:
      return Target{Target::kEnd, 0};
  }
}

int64_t SqliteDatabase::KeyFor(const Target& target) {
  switch (target.how) {
    case Target::kTop:
      return order_.KeyAtTop();
    case Target::kAfter:
      return order_.KeyAfter(target.id);
    default:
      return order_.KeyAtEnd();
  }
}

// ---- Storing

uint64_t SqliteDatabase::StorePending(const Target& target) {
  const DocumentStart& start = pending_.start();
  bool entry = start.form != 0;
  int32_t kind = entry ? KSENG_KIND_ENTRY : start.kind;
  int64_t key = KeyFor(target);
  uint64_t id;
  if (!pending_.staged() && start.attachments.empty() && !entry) {
    // The common case is one statement, atomic by itself.
    id = documents_.Insert(key, kind, pending_.memory_text());
  } else {
    Settle();  // rows written inside the savepoint would be undone with it
    Savepoint savepoint(*connection_);
    if (pending_.staged()) {
      // Written in place piece by piece: the whole text is never in memory.
      id = documents_.InsertSized(key, kind, pending_.size());
      BodyWriter writer(*connection_, key);
      pending_.ForEachPiece([&](std::string_view piece) { writer.Write(piece); });
    } else {
      id = documents_.InsertNow(key, kind, pending_.memory_text());
    }
    attachments_.Add(id, start.attachments);
    if (entry) {
      EntryInfo info{start.form, FieldMarker(), pending_.head_size()};
      std::vector<FieldValue> fields;
      if (start.fields) {
        fields = *start.fields;
      } else {
        // The importer composed the field lines itself: read them back.
        ParsedFieldLines parsed = ParseFieldLines(pending_.Head(kFieldLinesLimit), info.marker);
        fields = std::move(parsed.fields);
        info.free_offset = parsed.end;
      }
      forms_.AddEntry(id, info, fields);
    }
    savepoint.Release();
  }
  search_.AfterInsert(id, key);
  order_.Placed();
  CountStored(pending_.size(), true);
  return id;
}

uint64_t SqliteDatabase::AppendPending(uint64_t target) {
  Require(documents_.Exists(target), KSENG_ERR_NO_DOCUMENT, "no such document to append to");
  const DocumentStart& start = pending_.start();
  if (!pending_.staged() && start.attachments.empty()) {
    QueueAppend(target, pending_.memory_text());
    CountStored(pending_.size(), false);
    return target;
  }
  Settle();
  Savepoint savepoint(*connection_);
  attachments_.Add(target, start.attachments);
  if (pending_.staged()) {
    search_.BeforeTextChange(target);
    documents_.AppendConcatenation(target, PendingDocument::StagedPiecesQuery(),
                                   pending_.memory_text());
  } else {
    QueueAppend(target, pending_.memory_text());
  }
  savepoint.Release();
  CountStored(pending_.size(), false);
  return target;
}

void SqliteDatabase::QueueAppend(uint64_t target, std::string_view text) {
  // A run of appends to one document is written at once: appending piece by
  // piece would rewrite the growing text every time.
  if (target != append_target_) Settle();
  append_target_ = target;
  append_text_.append(text);
  if (append_text_.size() >= tuning_.append_limit) Settle();
}

// ---- Forms

void SqliteDatabase::AttachForm(std::string_view form_name) {
  Writing([&] {
    Settle();
    Require(last_saved_ != 0, KSENG_ERR_STATE, "no document was saved");
    uint64_t form = forms_.FindForm(form_name);
    Require(form != 0, KSENG_ERR_NO_DOCUMENT, "no entry form of that name");
    if (forms_.Entry(last_saved_)) {
      forms_.SetEntryForm(last_saved_, form);
      return;
    }
    Kind(last_saved_);
    char marker = FieldMarker();
    ParsedFieldLines parsed =
        ParseFieldLines(documents_.BodyHead(last_saved_, kFieldLinesLimit), marker);
    Savepoint savepoint(*connection_);
    documents_.SetKind(last_saved_, KSENG_KIND_ENTRY);
    forms_.AddEntry(last_saved_, EntryInfo{form, marker, parsed.end}, parsed.fields);
    savepoint.Release();
  });
}

}  // namespace ks::engine
