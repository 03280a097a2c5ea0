// HandleRegistry: the live import handle records and their counters.  Every
// read or change of a record goes through Find (a copy) or Update (a change
// made under the session's locks), so the host's polling thread always sees
// a consistent record.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <optional>
#include <random>

#include "api/handle_record.h"
#include "api/session_guard.h"

class HandleRegistry {
 public:
  explicit HandleRegistry(SessionLocks& locks);

  // A new record with a random, non-zero handle that no live record uses.
  uint32_t Create(uint32_t database, bool owns_database);
  // Restarts the handle sequence, as a second session started in the same
  // second would; used to prove that live values are never handed out twice.
  void SeedGenerator(uint32_t seed);
  void Remove(uint32_t handle);
  bool Exists(uint32_t handle);
  // A copy of the record, or nothing for an unknown handle.
  std::optional<ImportHandleRecord> Find(uint32_t handle);

  // Applies `change` to the handle's record under the session's locks;
  // false for an unknown handle.  `change` must not call out.
  template <typename Change>
  bool Update(uint32_t handle, Change&& change) {
    SessionGuard guard(locks_);
    ImportHandleRecord* record = FindLocked(handle);
    if (record == nullptr) return false;
    change(*record);
    return true;
  }

  // The abort flag.  Until any import was ever asked to stop the test needs
  // no lock at all: it is made for every record imported.
  bool SetAborted(uint32_t handle);
  bool IsAborted(uint32_t handle);

  // Counters; an unknown handle changes nothing and reads 0.
  bool AddTotalBytes(uint32_t handle, uint64_t bytes);
  bool AddCurrentBytes(uint32_t handle, uint64_t bytes);
  bool SetCurrentBytes(uint32_t handle, uint64_t bytes);
  bool SetDocumentsAdded(uint32_t handle, uint32_t count);
  bool AddDocumentsAdded(uint32_t handle, uint32_t count);
  uint32_t TotalBytes(uint32_t handle);
  uint32_t CurrentBytes(uint32_t handle);
  uint32_t DocumentsAdded(uint32_t handle);

  // For the queue, which shares the locks: whether a handle is live while
  // the caller holds a SessionGuard.
  bool IsLiveLocked(uint32_t handle) const;

 private:
  ImportHandleRecord* FindLocked(uint32_t handle);

  SessionLocks& locks_;
  std::atomic<bool> any_abort_requested_{false};
  std::list<ImportHandleRecord> records_;  // guarded by the locks
  std::mt19937 generator_;                 // guarded by the locks
};

// A 32-bit counter that stops at its maximum instead of wrapping.
uint32_t SaturatingAdd(uint32_t total, uint64_t more);
