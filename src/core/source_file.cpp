#include "core/source_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

SourceFile::~SourceFile() {
  Close();
}

void SourceFile::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

void SourceFile::Fail(FileErrorCause cause) {
  error_text_ = FileErrorText(cause, path_);
}

bool SourceFile::Open(const std::string& path) {
  Close();
  path_ = path;
  error_text_.clear();
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    Fail(FileErrorCauseFromErrno(errno));
    return false;
  }
  struct stat info {};
  if (::fstat(fd_, &info) != 0) {
    Fail(FileErrorCauseFromErrno(errno));
    Close();
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    error_text_ = S_ISDIR(info.st_mode) ? fmt::format("{} is a folder, not a file.", path)
                                        : fmt::format("{} is not a regular file.", path);
    Close();
    return false;
  }
  size_ = static_cast<uint64_t>(info.st_size);
  ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  return true;
}

ssize_t SourceFile::Read(char* buffer, size_t size) {
  if (fd_ < 0) return -1;
  size_t got = 0;
  // Fill the whole block where the file has it, so block boundaries do not
  // depend on how the system hands out the bytes.
  while (got < size) {
    const ssize_t n = ::read(fd_, buffer + got, size - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      Fail(FileErrorCauseFromErrno(errno));
      return -1;
    }
    if (n == 0) break;
    got += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(got);
}
