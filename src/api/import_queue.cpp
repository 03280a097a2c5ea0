#include "api/import_queue.h"

#include <algorithm>

namespace {

auto OfHandle(uint32_t handle) {
  return [handle](const SETDATA& r) { return r.import_handle == handle; };
}

}  // namespace

bool ImportQueue::Append(SETDATA record) {
  SessionGuard guard(locks_);
  if (!handles_.IsLiveLocked(record.import_handle)) return false;
  records_.push_back(std::move(record));
  return true;
}

std::optional<SETDATA> ImportQueue::First(uint32_t handle) {
  SessionGuard guard(locks_);
  auto it = std::find_if(records_.begin(), records_.end(), OfHandle(handle));
  if (it == records_.end()) return std::nullopt;
  return *it;
}

void ImportQueue::RemoveFirst(uint32_t handle) {
  SessionGuard guard(locks_);
  auto it = std::find_if(records_.begin(), records_.end(), OfHandle(handle));
  if (it != records_.end()) records_.erase(it);
}

void ImportQueue::RemoveAll(uint32_t handle) {
  SessionGuard guard(locks_);
  records_.remove_if(OfHandle(handle));
}

bool ImportQueue::AnyOfType(int32_t file_type) {
  SessionGuard guard(locks_);
  return std::any_of(records_.begin(), records_.end(),
                     [file_type](const SETDATA& r) { return r.file_type == file_type; });
}

size_t ImportQueue::Count(uint32_t handle) {
  SessionGuard guard(locks_);
  return static_cast<size_t>(std::count_if(records_.begin(), records_.end(), OfHandle(handle)));
}
