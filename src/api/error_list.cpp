#include "api/error_list.h"

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

void ImportErrorList::Reassign(uint32_t from, uint32_t to) {
  std::lock_guard lock(mutex_);
  for (tagERRORS& entry : entries_) {
    if (entry.import_handle == from) entry.import_handle = to;
  }
}
