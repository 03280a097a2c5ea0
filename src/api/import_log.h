// The import log: free texts recorded per import handle during an import
// (files that could not be read, dialogs that are not available, ...), read
// by the host afterwards through KSIMP_IsLogData / KSIMP_GetLogData.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

struct tagLogs {
  uint32_t import_handle;
  std::string text;
};

class ImportLog {
 public:
  void Add(uint32_t import_handle, std::string text);

  // Whether the handle has a non-empty text.
  bool HasText(uint32_t import_handle) const;

  // The KSIMP_GetLogData contract: 0 none, 1 copied (the newest entry of the
  // whole log removed), 3 buffer too small.
  uint32_t Read(uint32_t import_handle, char* buffer, int32_t size);

  size_t EntryCount() const;

  // The texts of `from` become texts of `to`, keeping their place in the
  // log (the profiles of an e-mail import log under handles of their own).
  void Reassign(uint32_t from, uint32_t to);

 private:
  mutable std::mutex mutex_;      // as for the error list: the host reads after the import
  std::vector<tagLogs> entries_;  // guarded by mutex_, oldest first
};
