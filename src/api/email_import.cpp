#include "api/email_import.h"

#include <algorithm>

#include "api/handle_registry.h"

bool EmailImport::Begin(uint32_t handle, uint32_t database, std::vector<uint32_t>* dropped) {
  SessionGuard guard(locks_);
  if (running_) return false;
  if (handle_ != 0) {
    dropped->push_back(handle_);
    for (const Item& item : items_) dropped->push_back(item.handle);
  }
  handle_ = handle;
  databases_.clear();
  if (database != 0) databases_.push_back(database);
  items_.clear();
  current_.reset();
  return true;
}

bool EmailImport::Owns(uint32_t handle) {
  SessionGuard guard(locks_);
  return handle != 0 && handle == handle_;
}

void EmailImport::AddDatabase(uint32_t handle, uint32_t database) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_ || database == 0) return;
  if (std::find(databases_.begin(), databases_.end(), database) == databases_.end()) {
    databases_.push_back(database);
  }
}

std::vector<uint32_t> EmailImport::Databases() {
  SessionGuard guard(locks_);
  return databases_;
}

bool EmailImport::Add(uint32_t handle, Item item) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_ || running_) return false;
  items_.push_back(std::move(item));
  return true;
}

std::optional<std::vector<EmailImport::Item>> EmailImport::Start(uint32_t handle) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_ || running_) return std::nullopt;
  running_ = true;
  return items_;
}

void EmailImport::SetCurrent(const Item* item) {
  SessionGuard guard(locks_);
  if (item == nullptr) {
    current_.reset();
    return;
  }
  current_ = Current{item->handle, item->profile, item->settings.database, item->description};
}

void EmailImport::End(uint32_t handle) {
  SessionGuard guard(locks_);
  if (handle != handle_) return;
  handle_ = 0;
  running_ = false;
  databases_.clear();
  items_.clear();
  current_.reset();
}

std::optional<EmailImport::Current> EmailImport::CurrentOf(uint32_t handle) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_) return std::nullopt;
  return current_;
}

uint32_t EmailImport::TotalBytes(uint32_t handle) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_) return 0;
  uint32_t total = 0;
  for (const Item& item : items_) total = SaturatingAdd(total, item.total_bytes);
  return total;
}

uint32_t EmailImport::Count(uint32_t handle) {
  SessionGuard guard(locks_);
  if (handle == 0 || handle != handle_) return 0;
  return static_cast<uint32_t>(items_.size());
}
