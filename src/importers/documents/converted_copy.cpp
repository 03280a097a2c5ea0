#include "importers/documents/converted_copy.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/temp_import_folder.h"

namespace ks::documents {
std::string ConvertedCopy::Delete() {
  if (deleted_) return {};
  deleted_ = true;
  struct stat info {};
  if (::lstat(path_.c_str(), &info) != 0) return {};  // gone already
  // The path comes from a module: only a regular file really inside the
  // temporary import folder is ever deleted.
  if (CheckTempImportFile(path_) != TempFileVerdict::kDeletable) {
    return fmt::format("The converted copy {} was kept: only files inside {} are deleted.", path_,
                       TempImportFolder());
  }
  if (::unlink(path_.c_str()) != 0) {
    return fmt::format("The converted copy {} could not be deleted: {}.", path_, std::strerror(errno));
  }
  return {};
}

}  // namespace ks::documents
