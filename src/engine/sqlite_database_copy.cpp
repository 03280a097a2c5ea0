// SqliteDatabase: a document as a self-contained record, read from one
// database and recreated in another.
#include "engine/engine_error.h"
#include "engine/sqlite_database.h"

namespace ks::engine {

DocumentRecord SqliteDatabase::ReadRecord(uint64_t id) {
  Settle();
  DocumentRecord record;
  record.kind = Kind(id);
  Require(record.kind != KSENG_KIND_FORM, KSENG_ERR_ARGUMENT,
          "entry forms are copied by name, not as documents");
  record.name = documents_.Name(id);
  record.text = documents_.Body(id);
  record.attachments = attachments_.All(id);
  if (std::optional<EntryInfo> info = forms_.Entry(id)) {
    EntryRecord entry;
    entry.form_name = forms_.FormName(info->form);
    entry.form_fields = forms_.FormFields(info->form);
    entry.marker = info->marker;
    entry.free_offset = info->free_offset;
    entry.fields = EntryFieldsInTextOrder(*info, id);
    record.entry = std::move(entry);
  }
  return record;
}

uint64_t SqliteDatabase::InsertRecord(const DocumentRecord& record, const Placement& placement) {
  bool entry_kind = record.kind == KSENG_KIND_ENTRY;
  Require(record.kind == KSENG_KIND_TEXT || record.kind == KSENG_KIND_RICHTEXT || entry_kind,
          KSENG_ERR_ARGUMENT, "only documents and entries are copied");
  Require(entry_kind == record.entry.has_value(), KSENG_ERR_ARGUMENT,
          "an entry record carries its entry details, and only an entry does");
  return Writing([&] {
    Target target = Resolve(placement, true);
    if (target.how == Target::kAppend) {
      Require(documents_.Exists(target.id), KSENG_ERR_NO_DOCUMENT, "no such document to append to");
      if (record.attachments.empty()) {
        QueueAppend(target.id, record.text);
      } else {
        Settle();  // rows written inside the savepoint would be undone with it
        Savepoint savepoint(*connection_);
        attachments_.Add(target.id, record.attachments);
        search_.BeforeTextChange(target.id);
        documents_.Append(target.id, record.text);
        savepoint.Release();
      }
      CountStored(record.text.size(), false);
      return target.id;
    }
    int64_t key = KeyFor(target);
    uint64_t id;
    if (record.name.empty() && record.attachments.empty() && !record.entry) {
      // A plain document is one row, like a document added by an import.
      id = documents_.Insert(key, record.kind, record.text);
    } else {
      Settle();
      Savepoint savepoint(*connection_);
      id = documents_.InsertNow(key, record.kind, record.text);
      if (!record.name.empty()) documents_.SetName(id, record.name);
      attachments_.Add(id, record.attachments);
      if (record.entry) {
        const EntryRecord& entry = *record.entry;
        uint64_t form = forms_.FindForm(entry.form_name);
        if (form == 0) form = MakeForm(entry.form_name, entry.form_fields);
        forms_.AddEntry(id, EntryInfo{form, entry.marker, entry.free_offset}, entry.fields);
      }
      savepoint.Release();
    }
    search_.AfterInsert(id, key);
    order_.Placed();
    CountStored(record.text.size(), true);
    return id;
  });
}

}  // namespace ks::engine
