// ImportQueue: the sources queued for import, of every live handle, in the
// order they were queued.  It shares the session's locks with the handle
// registry, so a record is queued only while its handle is live.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>

#include "api/handle_registry.h"
#include "api/session_guard.h"
#include "core/setdata.h"

class ImportQueue {
 public:
  ImportQueue(SessionLocks& locks, HandleRegistry& handles) : locks_(locks), handles_(handles) {}

  // Appends the record; false when its handle is unknown.
  bool Append(SETDATA record);
  // The handle's first queued record, and its removal.
  std::optional<SETDATA> First(uint32_t handle);
  void RemoveFirst(uint32_t handle);
  void RemoveAll(uint32_t handle);
  bool AnyOfType(int32_t file_type);
  size_t Count(uint32_t handle);

 private:
  SessionLocks& locks_;
  HandleRegistry& handles_;
  std::list<SETDATA> records_;  // guarded by the locks, in call order
};
