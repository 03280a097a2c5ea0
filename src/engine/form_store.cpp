// FormStore: SQL over forms, form_fields, entries and entry_fields.
#include "engine/form_store.h"

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {
int64_t Id(uint64_t id) {
  return static_cast<int64_t>(id);
}
}  // namespace

uint64_t FormStore::AddForm(std::string_view name, const std::vector<std::string>& fields) {
  uint64_t id;
  {
    auto insert = connection_.Prepared(
        "INSERT INTO forms(id, name) SELECT max(coalesce(max(id), ?1), ?1) + 1, ?2 FROM forms");
    insert->BindInt(1, static_cast<int64_t>(kFormIdBase)).BindText(2, name);
    insert->Run();
    id = static_cast<uint64_t>(connection_.LastInsertId());
  }
  auto insert =
      connection_.Prepared("INSERT INTO form_fields(form_id, position, name) VALUES(?1, ?2, ?3)");
  for (size_t i = 0; i < fields.size(); ++i) {
    insert->BindInt(1, Id(id)).BindInt(2, static_cast<int64_t>(i)).BindText(3, fields[i]);
    insert->Run();
    insert->Reset();
  }
  return id;
}

uint64_t FormStore::FindForm(std::string_view name) {
  auto query = connection_.Prepared("SELECT id FROM forms WHERE name = ?1 ORDER BY id LIMIT 1");
  query->BindText(1, name);
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

bool FormStore::IsForm(uint64_t id) {
  if (id <= kFormIdBase) return false;
  auto query = connection_.Prepared("SELECT 1 FROM forms WHERE id = ?1");
  query->BindInt(1, Id(id));
  return query->Step();
}

std::string FormStore::FormName(uint64_t form) {
  auto query = connection_.Prepared("SELECT name FROM forms WHERE id = ?1");
  query->BindInt(1, Id(form));
  Require(query->Step(), KSENG_ERR_NO_DOCUMENT, "no such entry form");
  return std::string(query->Bytes(0));
}

void FormStore::RenameForm(uint64_t form, std::string_view name) {
  auto update = connection_.Prepared("UPDATE forms SET name = ?2 WHERE id = ?1");
  update->BindInt(1, Id(form)).BindText(2, name);
  update->Run();
  Require(sqlite3_changes(connection_.get()) > 0, KSENG_ERR_NO_DOCUMENT, "no such entry form");
}

std::vector<std::string> FormStore::FormFields(uint64_t form) {
  auto query =
      connection_.Prepared("SELECT name FROM form_fields WHERE form_id = ?1 ORDER BY position");
  query->BindInt(1, Id(form));
  std::vector<std::string> names;
  while (query->Step()) names.emplace_back(query->Bytes(0));
  return names;
}

uint64_t FormStore::FirstForm() {
  auto query = connection_.Prepared("SELECT id FROM forms ORDER BY id LIMIT 1");
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

uint64_t FormStore::NextForm(uint64_t current) {
  Require(IsForm(current), KSENG_ERR_NO_DOCUMENT, "not an entry form");
  auto query = connection_.Prepared("SELECT id FROM forms WHERE id > ?1 ORDER BY id LIMIT 1");
  query->BindInt(1, Id(current));
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

uint64_t FormStore::CountForms() {
  auto query = connection_.Prepared("SELECT count(*) FROM forms");
  query->Step();
  return static_cast<uint64_t>(query->Int(0));
}

void FormStore::AddEntry(uint64_t id, const EntryInfo& info,
                         const std::vector<FieldValue>& fields) {
  {
    auto insert = connection_.Prepared(
        "INSERT INTO entries(id, form_id, marker, free_offset) VALUES(?1, ?2, ?3, ?4)");
    insert->BindInt(1, Id(id))
        .BindInt(2, Id(info.form))
        .BindInt(3, static_cast<unsigned char>(info.marker))
        .BindInt(4, static_cast<int64_t>(info.free_offset));
    insert->Run();
  }
  InsertFields(id, fields);
}

std::optional<EntryInfo> FormStore::Entry(uint64_t id) {
  auto query =
      connection_.Prepared("SELECT form_id, marker, free_offset FROM entries WHERE id = ?1");
  query->BindInt(1, Id(id));
  if (!query->Step()) return std::nullopt;
  return EntryInfo{static_cast<uint64_t>(query->Int(0)), static_cast<char>(query->Int(1)),
                   static_cast<uint64_t>(query->Int(2))};
}

void FormStore::SetEntryForm(uint64_t id, uint64_t form) {
  auto update = connection_.Prepared("UPDATE entries SET form_id = ?2 WHERE id = ?1");
  update->BindInt(1, Id(id)).BindInt(2, Id(form));
  update->Run();
}

void FormStore::ReplaceFields(uint64_t id, const std::vector<FieldValue>& fields,
                              uint64_t free_offset) {
  {
    auto remove = connection_.Prepared("DELETE FROM entry_fields WHERE entry_id = ?1");
    remove->BindInt(1, Id(id));
    remove->Run();
  }
  {
    auto update = connection_.Prepared("UPDATE entries SET free_offset = ?2 WHERE id = ?1");
    update->BindInt(1, Id(id)).BindInt(2, static_cast<int64_t>(free_offset));
    update->Run();
  }
  InsertFields(id, fields);
}

std::vector<FieldValue> FormStore::EntryFields(uint64_t id) {
  auto query = connection_.Prepared(
      "SELECT name, value FROM entry_fields WHERE entry_id = ?1 ORDER BY position");
  query->BindInt(1, Id(id));
  std::vector<FieldValue> fields;
  while (query->Step()) {
    fields.push_back({std::string(query->Bytes(0)), std::string(query->Bytes(1))});
  }
  return fields;
}

void FormStore::InsertFields(uint64_t id, const std::vector<FieldValue>& fields) {
  auto insert = connection_.Prepared(
      "INSERT INTO entry_fields(entry_id, name, value, position) VALUES(?1, ?2, ?3, ?4)");
  static const std::string kEmpty;
  for (size_t i = 0; i < fields.size(); ++i) {
    const std::string& value = fields[i].value ? *fields[i].value : kEmpty;
    insert->BindInt(1, Id(id))
        .BindText(2, fields[i].name)
        .BindBlob(3, value)
        .BindInt(4, static_cast<int64_t>(i));
    insert->Run();
    insert->Reset();
  }
}

}  // namespace ks::engine
