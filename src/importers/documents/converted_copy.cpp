#include "importers/documents/converted_copy.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace ks::documents {
namespace {

std::string RealPath(const std::string& path) {
  std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
  return resolved ? std::string(resolved.get()) : std::string();
}

}  // namespace

std::string TemporaryImportFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") folder.clear();
  return folder + "/KSTmpImp/";
}

bool IsInsideTemporaryImportFolder(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  const std::string folder = RealPath(TemporaryImportFolder());
  const std::string file = RealPath(path);
  if (folder.empty() || file.empty()) return false;
  const std::string prefix = folder == "/" ? folder : folder + "/";
  return file.size() > prefix.size() && file.compare(0, prefix.size(), prefix) == 0;
}

std::string ConvertedCopy::Delete() {
  if (deleted_) return {};
  deleted_ = true;
  struct stat info {};
  if (::lstat(path_.c_str(), &info) != 0) return {};  // gone already
  if (!IsInsideTemporaryImportFolder(path_)) {
    return fmt::format("The converted copy {} was kept: only files inside {} are deleted.", path_,
                       TemporaryImportFolder());
  }
  if (::unlink(path_.c_str()) != 0) {
    return fmt::format("The converted copy {} could not be deleted: {}.", path_, std::strerror(errno));
  }
  return {};
}

}  // namespace ks::documents
