#include "api/import_log.h"

#include <algorithm>
#include <cstring>
#include <utility>

void ImportLog::Add(uint32_t import_handle, std::string text) {
  std::lock_guard lock(mutex_);
  entries_.push_back({import_handle, std::move(text)});
}

bool ImportLog::HasText(uint32_t import_handle) const {
  std::lock_guard lock(mutex_);
  return std::any_of(entries_.begin(), entries_.end(), [import_handle](const tagLogs& e) {
    return e.import_handle == import_handle && !e.text.empty();
  });
}

size_t ImportLog::EntryCount() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

void ImportLog::Reassign(uint32_t from, uint32_t to) {
  std::lock_guard lock(mutex_);
  for (tagLogs& entry : entries_) {
    if (entry.import_handle == from) entry.import_handle = to;
  }
}

// Hosts were written against two odd rules that stay as they are:
//  - the size test lets the joined text reach size + 1 characters before its
//    terminator, and
//  - a successful read removes exactly one entry, the newest of the WHOLE log
//    (whichever handle it belongs to), so the other texts are returned again.
// Taken literally, the first rule writes up to two bytes past the buffer.  We
// keep the test and the return codes but never write past the buffer: what
// is physically copied is cut to size - 1 bytes and terminated.
uint32_t ImportLog::Read(uint32_t import_handle, char* buffer, int32_t size) {
  std::lock_guard lock(mutex_);
  if (entries_.empty() || buffer == nullptr || size < 1) return 0;
  const size_t capacity = static_cast<size_t>(size);
  std::memset(buffer, 0, capacity);

  size_t joined_length = 0;  // what the host-visible rule counts
  size_t copied = 0;         // what is really in the buffer
  for (const tagLogs& entry : entries_) {
    if (entry.import_handle != import_handle || entry.text.empty()) continue;
    if (joined_length + entry.text.size() > capacity + 1) return 3;
    joined_length += entry.text.size();
    const size_t room = capacity - 1 - copied;
    const size_t take = std::min(room, entry.text.size());
    std::memcpy(buffer + copied, entry.text.data(), take);
    copied += take;
  }
  if (joined_length == 0) return 0;
  entries_.pop_back();
  return 1;
}
