// Shows an import's progress while it runs: a bar redrawn in place on a
// terminal, or a plain line every few seconds when the output is a file or
// a pipe.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace ksimp {

struct ProgressSnapshot {
  uint64_t total_bytes = 0;
  uint64_t current_bytes = 0;
  uint32_t documents = 0;
  std::string current_file;
};

// The import's progress as the library reports it for `handle`, or nothing
// once the run has released the handle (it then reads as zeros, just before
// KSIMP_Import returns).  `total_at_start` is the total read before the run:
// a queued total never shrinks.  The file name is kept in *last_file, so that
// the display keeps showing the last one between files.
std::optional<ProgressSnapshot> ReadProgress(uint32_t handle, uint32_t total_at_start,
                                             std::string* last_file);

class ProgressDisplay {
 public:
  explicit ProgressDisplay(FILE* out);
  void Show(const ProgressSnapshot& snapshot);
  // Clears the bar so that later lines start on a clean line.
  void Finish();

 private:
  FILE* out_;
  bool terminal_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_line_;
};

}  // namespace ksimp
