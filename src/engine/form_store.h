// FormStore: entry forms (name and ordered field names) and entries (which
// form, which marker, where the free text starts, and their field values).
// Forms are not documents: their ids lie above every document key, so one
// id space serves both.  An entry's document row belongs to DocumentStore;
// this class keeps what only entries have.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/database.h"

namespace ks::engine {

class Connection;

struct EntryInfo {
  uint64_t form = 0;
  char marker = '[';
  uint64_t free_offset = 0;
};

class FormStore {
 public:
  explicit FormStore(Connection& connection) : connection_(connection) {}

  // Ids of forms start above this (and above every document key).
  static constexpr uint64_t kFormIdBase = uint64_t{1} << 62;

  // Creates a form with these fields; returns its id.
  uint64_t AddForm(std::string_view name, const std::vector<std::string>& fields);
  // First form in creation order named `name`; 0 when none.
  uint64_t FindForm(std::string_view name);
  bool IsForm(uint64_t id);
  std::string FormName(uint64_t form);
  void RenameForm(uint64_t form, std::string_view name);
  std::vector<std::string> FormFields(uint64_t form);
  uint64_t FirstForm();
  uint64_t NextForm(uint64_t current);
  uint64_t CountForms();

  // Records document `id` as an entry with its fields in the order first
  // given (the text order is derived from it and the form).
  void AddEntry(uint64_t id, const EntryInfo& info, const std::vector<FieldValue>& fields);
  std::optional<EntryInfo> Entry(uint64_t id);
  // Points an existing entry at another form.
  void SetEntryForm(uint64_t id, uint64_t form);
  // Replaces an entry's fields (in the order first given) and free-text offset.
  void ReplaceFields(uint64_t id, const std::vector<FieldValue>& fields, uint64_t free_offset);
  // The entry's fields in the order first given (their stored order).
  std::vector<FieldValue> EntryFields(uint64_t id);

 private:
  void InsertFields(uint64_t id, const std::vector<FieldValue>& fields);

  Connection& connection_;
};

}  // namespace ks::engine
