// HandleTable: random handle allocation under one mutex.
#include "engine/handle_table.h"

#include "engine/engine_error.h"

namespace ks::engine {

HandleTable::HandleTable() : random_(std::random_device{}()) {}

uint32_t HandleTable::Add(std::shared_ptr<Database> database) {
  std::lock_guard<std::mutex> lock(mutex_);
  uint32_t handle;
  do {
    handle = static_cast<uint32_t>(random_());
  } while (handle == 0 || databases_.count(handle) != 0);
  databases_.emplace(handle, std::move(database));
  return handle;
}

std::shared_ptr<Database> HandleTable::Find(uint32_t handle) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = databases_.find(handle);
  Require(found != databases_.end(), KSENG_ERR_HANDLE, "unknown database handle");
  return found->second;
}

std::shared_ptr<Database> HandleTable::Remove(uint32_t handle) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = databases_.find(handle);
  Require(found != databases_.end(), KSENG_ERR_HANDLE, "unknown database handle");
  std::shared_ptr<Database> database = std::move(found->second);
  databases_.erase(found);
  return database;
}

HandleTable& Handles() {
  // Never destroyed: C callers may close handles from static destructors.
  static HandleTable* table = new HandleTable();
  return *table;
}

}  // namespace ks::engine
