// What became of each file of one import, read from the library once
// KSIMP_Import has returned, and the two ways ksimp reports it: lines for a
// person, or one JSON object for a script.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ks_imp.h"

namespace ksimp {

struct FileReport {
  std::string file;
  int32_t type = 0;
  bool taken = false;  // the run came to it (a type without an importer ends the run)
  bool imported_whole = false;
  // Its type is one the library accepts without an importer: the run counts
  // it as done, but nothing of it was read, so it is not imported whole.
  bool accepted_unread = false;
  uint32_t documents_added = 0;
  uint32_t error = KSIMP_ERR_NONE;  // the first error recorded while it was imported
  std::string log;                  // the log texts written meanwhile
  std::string refusal;  // why ksimp did not queue it at all, or ""
};

struct ImportReport {
  std::string database;
  std::vector<FileReport> files;  // in the order they were queued
  bool aborted = false;

  uint32_t DocumentsAdded() const;
  bool AllImportedWhole() const;
};

// The message text of an import error code.
std::string ImportErrorText(uint32_t code);
// The handle's whole log, read once.
std::string ImportLogText(uint32_t handle);

// Reads the outcome of each file (files[i] queued as types[i]) from the
// library; a file with a refusal was never queued, and says so.
ImportReport ReadImportReport(uint32_t handle, const std::string& database,
                              const std::vector<std::string>& files,
                              const std::vector<int32_t>& types,
                              const std::vector<std::string>& refusals, bool aborted);
// The report of a run none of whose files was queued.
ImportReport RefusedOnly(const std::string& database, const std::vector<std::string>& files,
                         const std::vector<std::string>& refusals);

// One line per file not imported whole, on stderr: its name and why.
void PrintFilesNotImportedWhole(const ImportReport& report);
// The report as one JSON object and a line end, on stdout.
void PrintImportReportJson(const ImportReport& report);

}  // namespace ksimp
