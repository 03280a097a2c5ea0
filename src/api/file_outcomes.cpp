#include "api/file_outcomes.h"

#include <algorithm>

void FileOutcomes::Forget(uint32_t import_handle) {
  std::lock_guard lock(mutex_);
  std::erase_if(entries_,
                [import_handle](const FileOutcome& o) { return o.import_handle == import_handle; });
}

void FileOutcomes::Begin(uint32_t import_handle, std::string file_name, int32_t file_type,
                         uint32_t documents_before, size_t errors_before) {
  FileOutcome outcome;
  outcome.import_handle = import_handle;
  outcome.file_name = std::move(file_name);
  outcome.file_type = file_type;
  outcome.documents_before = documents_before;
  outcome.errors_before = errors_before;
  std::lock_guard lock(mutex_);
  entries_.push_back(std::move(outcome));
}

std::optional<FileOutcome> FileOutcomes::Open(uint32_t import_handle) const {
  std::lock_guard lock(mutex_);
  const auto it = std::find_if(entries_.rbegin(), entries_.rend(), [&](const FileOutcome& o) {
    return o.import_handle == import_handle && o.open;
  });
  if (it == entries_.rend()) return std::nullopt;
  return *it;
}

void FileOutcomes::Finish(uint32_t import_handle, uint32_t documents_now, uint32_t error,
                          bool imported_whole) {
  std::lock_guard lock(mutex_);
  FileOutcome* outcome = OpenEntry(import_handle);
  if (outcome == nullptr) return;
  // A failure may make the handle's count fall back to what the database
  // really holds, below where it stood when the file began.
  outcome->documents_added =
      documents_now > outcome->documents_before ? documents_now - outcome->documents_before : 0;
  outcome->error = error;
  outcome->imported_whole = imported_whole;
  outcome->open = false;
}

void FileOutcomes::AddLog(uint32_t import_handle, std::string_view text) {
  std::lock_guard lock(mutex_);
  if (FileOutcome* outcome = OpenEntry(import_handle)) outcome->log += text;
}

std::optional<FileOutcome> FileOutcomes::Find(uint32_t import_handle, uint32_t index) const {
  std::lock_guard lock(mutex_);
  uint32_t seen = 0;
  for (const FileOutcome& outcome : entries_) {
    if (outcome.import_handle != import_handle) continue;
    if (seen++ == index) return outcome;
  }
  return std::nullopt;
}

FileOutcome* FileOutcomes::OpenEntry(uint32_t import_handle) {
  const auto it = std::find_if(entries_.rbegin(), entries_.rend(), [&](const FileOutcome& o) {
    return o.import_handle == import_handle && o.open;
  });
  return it == entries_.rend() ? nullptr : &*it;
}
