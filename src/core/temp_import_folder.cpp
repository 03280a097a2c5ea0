#include "core/temp_import_folder.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// The canonical absolute path of an existing `path`, or "" when it cannot be
// resolved.
std::string RealPath(const std::string& path) {
  std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                       &std::free);
  return resolved ? std::string(resolved.get()) : std::string();
}

}  // namespace

std::string TempImportFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") folder.clear();
  return folder + "/KSTmpImp/";
}

TempFileVerdict CheckTempImportFile(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return TempFileVerdict::kNotAFile;
  if (S_ISLNK(info.st_mode)) return TempFileVerdict::kLink;
  if (!S_ISREG(info.st_mode)) return TempFileVerdict::kNotAFile;
  const std::string folder = RealPath(TempImportFolder());
  const std::string file = RealPath(path);
  if (folder.empty() || file.empty()) return TempFileVerdict::kOutside;
  const std::string prefix = folder == "/" ? folder : folder + "/";
  return file.compare(0, prefix.size(), prefix) == 0 ? TempFileVerdict::kDeletable
                                                     : TempFileVerdict::kOutside;
}

std::string DeleteTempImportFile(const std::string& path) {
  switch (CheckTempImportFile(path)) {
    case TempFileVerdict::kDeletable:
      if (::unlink(path.c_str()) == 0) return {};
      return fmt::format("{} was imported but could not be deleted: {}.", path,
                         std::strerror(errno));
    case TempFileVerdict::kOutside:
      return fmt::format(
          "{} was imported and kept: only files inside {} are deleted after their "
          "import.",
          path, TempImportFolder());
    case TempFileVerdict::kLink:
      return fmt::format(
          "{} was imported and kept: a symbolic link is never deleted after its "
          "import.",
          path);
    case TempFileVerdict::kNotAFile:
      return fmt::format("{} was imported and kept: it is not a regular file.", path);
  }
  return {};
}
