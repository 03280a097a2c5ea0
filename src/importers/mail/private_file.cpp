#include "importers/mail/private_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "core/write_all.h"

namespace fs = std::filesystem;

namespace {

std::string ErrnoText(int error) {
  return std::strerror(error);
}


}  // namespace

bool MakePrivateFolder(const fs::path& folder, std::string* why) {
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) {
    if (!folder.parent_path().empty() && folder.parent_path() != folder &&
        !MakePrivateFolder(folder.parent_path(), why)) {
      return false;
    }
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
      *why = fmt::format("cannot create the folder {}: {}", folder.string(), ErrnoText(errno));
      return false;
    }
    if (!fs::is_directory(folder, ec)) {
      *why = fmt::format("{} is not a folder", folder.string());
      return false;
    }
  }
  return true;
}

bool WritePrivateFile(const fs::path& path, std::string_view text, std::string* why) {
  if (!MakePrivateFolder(path.parent_path(), why)) return false;
  std::string temporary = path.string() + ".XXXXXX";
  const int fd = ::mkstemp(temporary.data());  // created 0600
  if (fd < 0) {
    *why = fmt::format("cannot write {}: {}", path.string(), ErrnoText(errno));
    return false;
  }
  bool written = ::fchmod(fd, 0600) == 0 && ks::core::WriteAll(fd, text) && ::fsync(fd) == 0;
  const int write_error = errno;
  written = ::close(fd) == 0 && written;
  if (written && ::rename(temporary.c_str(), path.c_str()) == 0) return true;
  *why =
      fmt::format("cannot write {}: {}", path.string(), ErrnoText(written ? errno : write_error));
  ::unlink(temporary.c_str());
  return false;
}

std::optional<std::string> ReadSmallFile(const fs::path& path, size_t most, std::string* why) {
  why->clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    if (errno != ENOENT) *why = fmt::format("cannot read {}: {}", path.string(), ErrnoText(errno));
    return std::nullopt;
  }
  struct stat info {};
  std::optional<std::string> text;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    *why = fmt::format("{} is not a regular file", path.string());
  } else if (static_cast<uint64_t>(info.st_size) > most) {
    *why = fmt::format("{} is larger than {} bytes", path.string(), most);
  } else {
    std::string bytes;
    char block[16 * 1024];
    while (true) {
      const ssize_t got = ::read(fd, block, sizeof block);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) {
        *why = fmt::format("cannot read {}: {}", path.string(), ErrnoText(errno));
        break;
      }
      if (got == 0) {
        text = std::move(bytes);
        break;
      }
      bytes.append(block, static_cast<size_t>(got));
      if (bytes.size() > most) {
        *why = fmt::format("{} is larger than {} bytes", path.string(), most);
        break;
      }
    }
  }
  ::close(fd);
  return text;
}

PrivateFileLock::PrivateFileLock(const fs::path& path) {
  std::string ignored;
  if (!MakePrivateFolder(path.parent_path(), &ignored)) return;
  const std::string lock_path = path.string() + ".lock";
  fd_ = ::open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd_ < 0) return;
  while (::flock(fd_, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    ::close(fd_);
    fd_ = -1;
    return;
  }
}

PrivateFileLock::~PrivateFileLock() {
  if (fd_ >= 0) ::close(fd_);
}
