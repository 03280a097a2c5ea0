// SqliteDatabase: entry forms, entries and the rebuilding of an entry's text
// from its fields.
#include <algorithm>
#include <set>

#include "engine/engine_error.h"
#include "engine/field_lines.h"
#include "engine/sqlite_database.h"

namespace ks::engine {
namespace {

// Field names travel in 256-byte records (KSENG_FIELD), terminator included.
constexpr size_t kMaxNameLength = 255;

void CheckName(std::string_view name, const char* what) {
  Require(!name.empty() && name.size() <= kMaxNameLength, KSENG_ERR_ARGUMENT, what);
}

}  // namespace

uint64_t SqliteDatabase::CreateForm(std::string_view name, const std::vector<std::string>& fields) {
  CheckName(name, "a form needs a name of 1 to 255 bytes");
  std::set<std::string_view> seen;
  for (const std::string& field : fields) {
    CheckName(field, "a field needs a name of 1 to 255 bytes");
    Require(seen.insert(field).second, KSENG_ERR_ARGUMENT, "field names of a form must differ");
  }
  return Writing([&] {
    Require(forms_.FindForm(name) == 0, KSENG_ERR_EXISTS, "an entry form of that name exists");
    return MakeForm(name, fields);
  });
}

uint64_t SqliteDatabase::MakeForm(std::string_view name, const std::vector<std::string>& fields) {
  Savepoint savepoint(*connection_);
  uint64_t id = forms_.AddForm(name, fields);
  savepoint.Release();
  return id;
}

uint64_t SqliteDatabase::CreateEntry(uint64_t form, char marker, std::string_view text,
                                     const Placement& placement) {
  Require(forms_.IsForm(form), KSENG_ERR_NO_DOCUMENT, "no such entry form");
  if (marker == 0) marker = FieldMarker();
  return Writing([&] {
    Settle();
    int64_t key = KeyFor(Resolve(placement, false));
    Savepoint savepoint(*connection_);
    uint64_t id = documents_.InsertNow(key, KSENG_KIND_ENTRY, text);
    forms_.AddEntry(id, EntryInfo{form, marker, 0}, {});
    search_.AfterInsert(id, key);
    savepoint.Release();
    order_.Placed();
    CountStored(text.size(), true);
    return id;
  });
}

std::vector<FieldValue> SqliteDatabase::EntryFieldsInTextOrder(const EntryInfo& info, uint64_t id) {
  return OrderForForm(forms_.EntryFields(id), forms_.FormFields(info.form));
}

void SqliteDatabase::WriteFields(uint64_t entry, const std::vector<FieldValue>& fields) {
  for (const FieldValue& field : fields) CheckName(field.name, "a field needs a name");
  Writing([&] {
    Settle();
    Kind(entry);
    std::optional<EntryInfo> info = forms_.Entry(entry);
    Require(info.has_value(), KSENG_ERR_ARGUMENT, "document is not an entry");

    // Stored in the order first given; a cleared field loses its place.
    std::vector<FieldValue> values = forms_.EntryFields(entry);
    for (const FieldValue& field : fields) {
      auto same = std::find_if(values.begin(), values.end(),
                               [&](const FieldValue& v) { return v.name == field.name; });
      if (!field.value) {
        if (same != values.end()) values.erase(same);
      } else if (same != values.end()) {
        same->value = field.value;
      } else {
        values.push_back(field);
      }
    }

    std::string text =
        ComposeFieldLines(OrderForForm(values, forms_.FormFields(info->form)), info->marker);
    uint64_t free_offset = text.size();
    std::string old_text = documents_.Body(entry);
    if (info->free_offset < old_text.size()) text.append(old_text, info->free_offset);

    Savepoint savepoint(*connection_);
    search_.BeforeTextChange(entry);
    documents_.SetBody(entry, text);
    forms_.ReplaceFields(entry, values, free_offset);
    savepoint.Release();
  });
}

std::vector<FieldValue> SqliteDatabase::Fields(uint64_t id) {
  Kind(id);
  if (forms_.IsForm(id)) {
    std::vector<FieldValue> names;
    for (std::string& name : forms_.FormFields(id)) names.push_back({std::move(name), {}});
    return names;
  }
  std::optional<EntryInfo> info = forms_.Entry(id);
  if (!info) return {};
  return EntryFieldsInTextOrder(*info, id);
}

uint64_t SqliteDatabase::EntryForm(uint64_t entry) {
  Kind(entry);
  std::optional<EntryInfo> info = forms_.Entry(entry);
  return info ? info->form : 0;
}

}  // namespace ks::engine
