// HandleTable: the process-wide map from the non-zero 32-bit handles given
// to C callers to the open Database objects behind them.  Handles are random,
// so a stale or made-up handle is very unlikely to hit another database.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <unordered_map>

#include "engine/database.h"

namespace ks::engine {

class HandleTable {
 public:
  HandleTable();

  // Registers `database` and returns its new handle.
  uint32_t Add(std::shared_ptr<Database> database);
  // The database of `handle`; throws KSENG_ERR_HANDLE for an unknown one.
  // The caller's reference keeps it alive even if another thread removes it.
  std::shared_ptr<Database> Find(uint32_t handle) const;
  // Unregisters `handle` and returns its database; throws KSENG_ERR_HANDLE.
  std::shared_ptr<Database> Remove(uint32_t handle);

 private:
  mutable std::mutex mutex_;
  std::unordered_map<uint32_t, std::shared_ptr<Database>> databases_;  // guarded by mutex_
  std::mt19937 random_;                                                // guarded by mutex_
};

// The one table of the process.
HandleTable& Handles();

}  // namespace ks::engine
