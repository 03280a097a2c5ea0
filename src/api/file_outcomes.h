// What became of each file an import run took: its name and type, the
// documents it added, the first error recorded while it ran, whether it was
// imported whole, and the log texts written meanwhile.  The handle's own
// counters and error only tell about the whole run; a host that reports per
// file reads these after KSIMP_Import has returned, so they outlive their
// handle like the error list and the log.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct FileOutcome {
  uint32_t import_handle = 0;
  std::string file_name;
  int32_t file_type = 0;         // as queued, before any alias is resolved
  uint32_t documents_added = 0;  // by this file alone
  uint32_t error = 0;            // first error recorded while it ran, or KSIMP_ERR_NONE
  bool imported_whole = false;
  std::string log;  // the log texts written while it ran, joined as the log joins them
  // Where the handle's counters stood when the file began, so that its own
  // share can be told when it ends.
  uint32_t documents_before = 0;
  size_t errors_before = 0;
  bool open = true;  // still being imported: log texts join it
};

class FileOutcomes {
 public:
  // Forgets what the handle's files recorded: before a run (a released
  // handle's number may be drawn again), or when no host will ask.
  void Forget(uint32_t import_handle);

  void Begin(uint32_t import_handle, std::string file_name, int32_t file_type,
             uint32_t documents_before, size_t errors_before);
  // The open file of the handle, if one is being imported.
  std::optional<FileOutcome> Open(uint32_t import_handle) const;
  // Closes the handle's open file; nothing when none is open.
  void Finish(uint32_t import_handle, uint32_t documents_now, uint32_t error, bool imported_whole);

  // Adds a log text to the handle's open file, if any.
  void AddLog(uint32_t import_handle, std::string_view text);

  // The handle's file `index` (0-based, in the order the run took them).
  std::optional<FileOutcome> Find(uint32_t import_handle, uint32_t index) const;

 private:
  FileOutcome* OpenEntry(uint32_t import_handle);

  // Written by the importing thread, read by the host after the import; the
  // mutex keeps a host that reads early from a data race.
  mutable std::mutex mutex_;
  std::vector<FileOutcome> entries_;  // guarded by mutex_, in the order files began
};
