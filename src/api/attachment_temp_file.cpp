#include "api/attachment_temp_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "core/temp_import_folder.h"
#include "core/write_all.h"

namespace {

std::string Reason(const char* what, const std::string& path) {
  return fmt::format("{} {} failed: {}.", what, path, std::strerror(errno));
}

// Makes the temporary import folder when it is missing.  One that exists
// must be a real folder of this user's: a link or another user's folder in a
// shared /tmp could lead the files anywhere.
bool ReadyTempImportFolder(const std::string& folder, std::string* why) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    *why = Reason("Creating the folder", folder);
    return false;
  }
  struct stat info {};
  if (::lstat(folder.c_str(), &info) != 0) {
    *why = Reason("Reading the folder", folder);
    return false;
  }
  if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) {
    *why = fmt::format("{} is not a folder of this user's own; no attachment is written there.",
                       folder);
    return false;
  }
  return true;
}


}  // namespace

std::unique_ptr<AttachmentTempFile> AttachmentTempFile::Write(const std::string& safe_name,
                                                              std::string_view content,
                                                              std::string* why) {
  const std::string base = TempImportFolder();  // ends with "/"
  if (!ReadyTempImportFolder(base.substr(0, base.size() - 1), why)) return nullptr;

  std::string pattern = base + "attach-XXXXXX";
  std::vector<char> folder(pattern.begin(), pattern.end());
  folder.push_back('\0');
  // mkdtemp makes the folder 0700 under a name no one could have taken.
  if (::mkdtemp(folder.data()) == nullptr) {
    *why = Reason("Creating a private folder in", base);
    return nullptr;
  }
  std::unique_ptr<AttachmentTempFile> file(
      new AttachmentTempFile(folder.data(), std::string(folder.data()) + "/" + safe_name));

  const int fd =
      ::open(file->path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) {
    *why = Reason("Creating", file->path_);
    return nullptr;  // the destructor removes the folder
  }
  const bool written = ks::core::WriteAll(fd, content);
  const int write_errno = errno;
  if (::close(fd) != 0 || !written) {
    if (!written) errno = write_errno;
    *why = Reason("Writing", file->path_);
    return nullptr;
  }
  return file;
}

void AttachmentTempFile::Remove() {
  if (!path_.empty()) ::unlink(path_.c_str());
  if (!folder_.empty()) ::rmdir(folder_.c_str());
  path_.clear();
  folder_.clear();
}
