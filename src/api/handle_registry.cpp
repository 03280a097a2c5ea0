#include "api/handle_registry.h"

#include <algorithm>
#include <ctime>
#include <limits>

uint32_t SaturatingAdd(uint32_t total, uint64_t more) {
  const uint64_t sum = uint64_t{total} + more;
  return sum > std::numeric_limits<uint32_t>::max() ? std::numeric_limits<uint32_t>::max()
                                                    : static_cast<uint32_t>(sum);
}

namespace {

uint32_t Clamped(uint64_t value) {
  return SaturatingAdd(0, value);
}

}  // namespace

// The generator is seeded once, with the time in seconds.  Reseeding it for
// every handle would hand out the same values again within one second, and
// since errors and log texts outlive their handle, a new import would then
// inherit the errors of an earlier one.
HandleRegistry::HandleRegistry(SessionLocks& locks)
    : locks_(locks), generator_(static_cast<std::mt19937::result_type>(std::time(nullptr))) {}

void HandleRegistry::SeedGenerator(uint32_t seed) {
  SessionGuard guard(locks_);
  generator_.seed(seed);
}

ImportHandleRecord* HandleRegistry::FindLocked(uint32_t handle) {
  auto it = std::find_if(records_.begin(), records_.end(),
                         [handle](const ImportHandleRecord& r) { return r.handle == handle; });
  return it == records_.end() ? nullptr : &*it;
}

bool HandleRegistry::IsLiveLocked(uint32_t handle) const {
  return std::any_of(records_.begin(), records_.end(),
                     [handle](const ImportHandleRecord& r) { return r.handle == handle; });
}

uint32_t HandleRegistry::Create(uint32_t database, bool owns_database) {
  SessionGuard guard(locks_);
  uint32_t handle = 0;
  do {
    handle = static_cast<uint32_t>(generator_());
  } while (handle == 0 || IsLiveLocked(handle));  // a live value is drawn again

  ImportHandleRecord& record = records_.emplace_back();
  record.handle = handle;
  record.database = database;
  record.owns_database = owns_database;
  return handle;
}

void HandleRegistry::Remove(uint32_t handle) {
  SessionGuard guard(locks_);
  records_.remove_if([handle](const ImportHandleRecord& r) { return r.handle == handle; });
}

bool HandleRegistry::Exists(uint32_t handle) {
  SessionGuard guard(locks_);
  return IsLiveLocked(handle);
}

std::optional<ImportHandleRecord> HandleRegistry::Find(uint32_t handle) {
  SessionGuard guard(locks_);
  if (const ImportHandleRecord* record = FindLocked(handle)) return *record;
  return std::nullopt;
}

bool HandleRegistry::SetAborted(uint32_t handle) {
  return Update(handle, [this](ImportHandleRecord& r) {
    r.aborted = true;
    any_abort_requested_.store(true, std::memory_order_release);
  });
}

bool HandleRegistry::IsAborted(uint32_t handle) {
  if (!any_abort_requested_.load(std::memory_order_acquire)) return false;
  // Read in place: this runs for every record imported once any import was
  // aborted, and a copy of the record would allocate.
  bool aborted = false;
  Update(handle, [&aborted](ImportHandleRecord& r) { aborted = r.aborted; });
  return aborted;
}

bool HandleRegistry::AddTotalBytes(uint32_t handle, uint64_t bytes) {
  return Update(handle, [bytes](ImportHandleRecord& r) {
    r.total_bytes = SaturatingAdd(r.total_bytes, bytes);
  });
}

bool HandleRegistry::AddCurrentBytes(uint32_t handle, uint64_t bytes) {
  return Update(handle, [bytes](ImportHandleRecord& r) {
    r.current_bytes = SaturatingAdd(r.current_bytes, bytes);
  });
}

bool HandleRegistry::SetCurrentBytes(uint32_t handle, uint64_t bytes) {
  return Update(handle, [bytes](ImportHandleRecord& r) { r.current_bytes = Clamped(bytes); });
}

bool HandleRegistry::SetDocumentsAdded(uint32_t handle, uint32_t count) {
  return Update(handle, [count](ImportHandleRecord& r) { r.documents_added = count; });
}

bool HandleRegistry::AddDocumentsAdded(uint32_t handle, uint32_t count) {
  return Update(handle, [count](ImportHandleRecord& r) {
    r.documents_added = SaturatingAdd(r.documents_added, count);
  });
}

uint32_t HandleRegistry::TotalBytes(uint32_t handle) {
  const auto record = Find(handle);
  return record ? record->total_bytes : 0;
}

uint32_t HandleRegistry::CurrentBytes(uint32_t handle) {
  const auto record = Find(handle);
  return record ? record->current_bytes : 0;
}

uint32_t HandleRegistry::DocumentsAdded(uint32_t handle) {
  const auto record = Find(handle);
  return record ? record->documents_added : 0;
}
