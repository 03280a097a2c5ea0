#include "core/entry_form_rows.h"

#include <algorithm>
#include <cstring>

namespace ks::core {

EntryFormRows::EntryFormRows(ImportContext& context, uint64_t form, char marker,
                             std::string_view value_suffix)
    : context_(context),
      database_(context.database()),
      location_(context.options().import_location),
      named_document_(context.options().named_document),
      form_(form),
      marker_(marker),
      value_suffix_(value_suffix),
      anchor_(context.LastDocument()) {}

std::optional<uint64_t> EntryFormRows::FirstAnchor() const {
  if (anchor_ != 0 || location_ != KSENG_LOC_AFTER_NAMED || named_document_.empty()) {
    return anchor_;
  }
  const int64_t named = EngFindDocument(database_, KSENG_KIND_TEXT, named_document_.c_str());
  if (named <= 0) return std::nullopt;
  return static_cast<uint64_t>(named);
}

EntryFormRows::Outcome EntryFormRows::Add(std::span<const std::string> names,
                                          std::span<const std::string> values) {
  const std::optional<uint64_t> anchor = FirstAnchor();
  if (!anchor) return Outcome::kNoPlace;
  uint64_t entry = 0;
  if (EngOp251(database_, form_, &entry, marker_, "", location_, *anchor) == 0 || entry == 0) {
    engine_error_ = EngLastError(0);
    return Outcome::kEntryNotCreated;
  }
  // The entry exists from here on: it is the import's last document whether
  // or not its values are taken.
  anchor_ = entry;
  context_.SetLastDocument(entry);

  // The values first, so that the records can point into them; the vector
  // is not touched again until the engine has copied what it needs.
  values_.resize(std::min(names.size(), values.size()));
  for (size_t i = 0; i < values_.size(); ++i) {
    values_[i].assign(values[i]);
    values_[i] += value_suffix_;
  }
  records_.clear();
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i].empty()) continue;
    KSENG_FIELD& record = records_.emplace_back();  // zero-filled, so the name is terminated
    std::memcpy(record.name, names[i].data(), std::min(names[i].size(), sizeof record.name - 1));
    record.flags = KSENG_FIELD_FLAGS;
    record.count = 1;
    record.value = i < values_.size() ? values_[i].c_str() : nullptr;
  }
  const bool taken = EngOp249(database_, static_cast<uint32_t>(entry & 0xFFFFFFFFu),
                              static_cast<uint32_t>(entry >> 32), 1,
                              static_cast<uint32_t>(records_.size()), records_.data()) != 0;
  if (taken) return Outcome::kAdded;
  engine_error_ = EngLastError(0);
  return Outcome::kFieldsRefused;
}

}  // namespace ks::core
