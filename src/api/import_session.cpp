#include "api/import_session.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace {

uint32_t SaturatingAdd(uint32_t total, uint64_t more) {
  const uint64_t sum = uint64_t{total} + more;
  return sum > std::numeric_limits<uint32_t>::max() ? std::numeric_limits<uint32_t>::max()
                                                    : static_cast<uint32_t>(sum);
}

}  // namespace

// The generator is seeded once, with the time in seconds.  Reseeding it for
// every handle would hand out the same values again within one second, and
// since errors and log texts outlive their handle, a new import would then
// inherit the errors of an earlier one.
CImportSession::CImportSession()
    : handle_generator_(static_cast<std::mt19937::result_type>(std::time(nullptr))),
      importer_factory_(CreateImporterFromTable) {}

void CImportSession::SeedHandleGenerator(uint32_t seed) {
  std::lock_guard data(data_mutex_);
  handle_generator_.seed(seed);
}

ImportHandleRecord* CImportSession::FindRecordLocked(uint32_t handle) {
  auto it = std::find_if(records_.begin(), records_.end(),
                         [handle](const ImportHandleRecord& r) { return r.handle == handle; });
  return it == records_.end() ? nullptr : &*it;
}

bool CImportSession::IsHandleLiveLocked(uint32_t handle) const {
  return std::any_of(records_.begin(), records_.end(),
                     [handle](const ImportHandleRecord& r) { return r.handle == handle; });
}

uint32_t CImportSession::CreateHandle(uint32_t database, bool owns_database) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  uint32_t handle = 0;
  do {
    handle = static_cast<uint32_t>(handle_generator_());
  } while (handle == 0 || IsHandleLiveLocked(handle));  // a live value is drawn again

  ImportHandleRecord record;
  record.handle = handle;
  record.database = database;
  record.owns_database = owns_database;
  records_.push_back(record);
  return handle;
}

void CImportSession::RemoveHandle(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  records_.remove_if([handle](const ImportHandleRecord& r) { return r.handle == handle; });
}

bool CImportSession::HandleExists(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  return IsHandleLiveLocked(handle);
}

std::optional<ImportHandleRecord> CImportSession::GetHandleRecord(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  if (const ImportHandleRecord* record = FindRecordLocked(handle)) return *record;
  return std::nullopt;
}

bool CImportSession::SetAborted(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->aborted = true;
  any_abort_requested_.store(true, std::memory_order_release);
  return true;
}

bool CImportSession::IsAborted(uint32_t handle) {
  if (!any_abort_requested_.load(std::memory_order_acquire)) return false;
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  const ImportHandleRecord* record = FindRecordLocked(handle);
  return record != nullptr && record->aborted;
}

bool CImportSession::AddTotalBytes(uint32_t handle, uint64_t bytes) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->total_bytes = SaturatingAdd(record->total_bytes, bytes);
  return true;
}

bool CImportSession::AddCurrentBytes(uint32_t handle, uint64_t bytes) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->current_bytes = SaturatingAdd(record->current_bytes, bytes);
  return true;
}

bool CImportSession::SetCurrentBytes(uint32_t handle, uint32_t bytes) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->current_bytes = bytes;
  return true;
}

bool CImportSession::SetDocumentsAdded(uint32_t handle, uint32_t count) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->documents_added = count;
  return true;
}

bool CImportSession::AddDocumentsAdded(uint32_t handle, uint32_t count) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->documents_added = SaturatingAdd(record->documents_added, count);
  return true;
}

bool CImportSession::SetLastDocument(uint32_t handle, uint64_t document) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->importer_value64 = static_cast<int64_t>(document);
  return true;
}

bool CImportSession::RecordDocumentSaved(uint32_t handle, uint64_t document, uint32_t bytes) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  ImportHandleRecord* record = FindRecordLocked(handle);
  if (record == nullptr) return false;
  record->importer_value64 = static_cast<int64_t>(document);
  record->documents_added = SaturatingAdd(record->documents_added, 1);
  record->current_bytes = bytes;
  return true;
}

uint32_t CImportSession::GetTotalBytes(uint32_t handle) {
  auto record = GetHandleRecord(handle);
  return record ? record->total_bytes : 0;
}

uint32_t CImportSession::GetCurrentBytes(uint32_t handle) {
  auto record = GetHandleRecord(handle);
  return record ? record->current_bytes : 0;
}

uint32_t CImportSession::GetDocumentsAdded(uint32_t handle) {
  auto record = GetHandleRecord(handle);
  return record ? record->documents_added : 0;
}

bool CImportSession::Queue(SETDATA record) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  if (!IsHandleLiveLocked(record.import_handle)) return false;
  queue_.push_back(std::move(record));
  return true;
}

std::optional<SETDATA> CImportSession::FirstQueued(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  auto it = std::find_if(queue_.begin(), queue_.end(),
                         [handle](const SETDATA& r) { return r.import_handle == handle; });
  if (it == queue_.end()) return std::nullopt;
  return *it;
}

void CImportSession::RemoveFirstQueued(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  auto it = std::find_if(queue_.begin(), queue_.end(),
                         [handle](const SETDATA& r) { return r.import_handle == handle; });
  if (it != queue_.end()) queue_.erase(it);
}

bool CImportSession::AnyQueuedOfType(int32_t file_type) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  return std::any_of(queue_.begin(), queue_.end(),
                     [file_type](const SETDATA& r) { return r.file_type == file_type; });
}

size_t CImportSession::QueuedCount(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  return static_cast<size_t>(
      std::count_if(queue_.begin(), queue_.end(),
                    [handle](const SETDATA& r) { return r.import_handle == handle; }));
}

void CImportSession::AddAttachment(tagIMPORTATTACH attachment) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  attachments_.push_back(std::move(attachment));
}

size_t CImportSession::AttachmentCount() {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  return attachments_.size();
}

void CImportSession::DiscardHandle(uint32_t handle) {
  SessionLockGuard session(lock_);
  std::lock_guard data(data_mutex_);
  queue_.remove_if([handle](const SETDATA& r) { return r.import_handle == handle; });
  records_.remove_if([handle](const ImportHandleRecord& r) { return r.handle == handle; });
}
