#include "api/error_list.h"

#include <algorithm>

#include "core/error_codes.h"

void ImportErrorList::Record(uint32_t import_handle, uint32_t code) {
  std::lock_guard lock(mutex_);
  entries_.push_back({import_handle, code});
}

uint32_t ImportErrorList::LastError(uint32_t import_handle) const {
  std::lock_guard lock(mutex_);
  for (const tagERRORS& entry : entries_) {
    if (entry.import_handle == import_handle) return entry.code;
  }
  return error_code::kInternal;
}

size_t ImportErrorList::Count(uint32_t import_handle) const {
  std::lock_guard lock(mutex_);
  return static_cast<size_t>(std::count_if(
      entries_.begin(), entries_.end(),
      [import_handle](const tagERRORS& entry) { return entry.import_handle == import_handle; }));
}

uint32_t ImportErrorList::FirstAfter(uint32_t import_handle, size_t skipped) const {
  std::lock_guard lock(mutex_);
  for (const tagERRORS& entry : entries_) {
    if (entry.import_handle != import_handle) continue;
    if (skipped == 0) return entry.code;
    --skipped;
  }
  return error_code::kNoError;
}

void ImportErrorList::Reassign(uint32_t from, uint32_t to) {
  std::lock_guard lock(mutex_);
  for (tagERRORS& entry : entries_) {
    if (entry.import_handle == from) entry.import_handle = to;
  }
}
