#include "progress_display.h"

#include <fmt/format.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "ks_imp.h"

namespace ksimp {

std::optional<ProgressSnapshot> ReadProgress(uint32_t handle, uint32_t total_at_start,
                                             std::string* last_file) {
  ProgressSnapshot snapshot;
  snapshot.current_bytes = KSIMP_GetCurBytes(handle);
  snapshot.documents = KSIMP_GetNumDocsAdded(handle);
  char name[PATH_MAX] = {};
  if (KSIMP_GetCurFile(handle, name)) *last_file = name;
  snapshot.current_file = *last_file;
  // Read last: when the total is still whole, the handle was alive for the
  // reads before it.
  snapshot.total_bytes = KSIMP_GetTotalBytes(handle);
  if (snapshot.total_bytes < total_at_start) return std::nullopt;
  return snapshot;
}
namespace {

constexpr auto kPlainLineInterval = std::chrono::seconds(2);
constexpr int kBarWidth = 30;

std::string Megabytes(uint64_t bytes) {
  return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

}  // namespace

ProgressDisplay::ProgressDisplay(FILE* out)
    : out_(out),
      terminal_(isatty(fileno(out)) != 0),
      last_line_(std::chrono::steady_clock::now()) {}

void ProgressDisplay::Show(const ProgressSnapshot& s) {
  const double fraction =
      s.total_bytes == 0 ? 0.0 : std::min(1.0, double(s.current_bytes) / double(s.total_bytes));
  const std::string name = std::filesystem::path(s.current_file).filename().string();
  if (terminal_) {
    const int filled = static_cast<int>(fraction * kBarWidth);
    fmt::print(out_, "\r[{}{}] {:3.0f}%  {} / {}  {} docs  {:<30.30}", std::string(filled, '#'),
               std::string(kBarWidth - filled, ' '), fraction * 100, Megabytes(s.current_bytes),
               Megabytes(s.total_bytes), s.documents, name);
    std::fflush(out_);
    drawn_ = true;
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (now - last_line_ < kPlainLineInterval) return;
  last_line_ = now;
  fmt::print(out_, "progress: {:.0f}% ({} of {}), {} documents, {}\n", fraction * 100,
             Megabytes(s.current_bytes), Megabytes(s.total_bytes), s.documents, name);
  std::fflush(out_);
}

void ProgressDisplay::Finish() {
  if (terminal_ && drawn_) fmt::print(out_, "\r{}\r", std::string(kBarWidth + 80, ' '));
  std::fflush(out_);
}

}  // namespace ksimp
