#include "importers/tables/random_access_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ks::tables {

RandomAccessFile::~RandomAccessFile() {
  if (fd_ >= 0) ::close(fd_);
}

bool RandomAccessFile::Open(const std::string& path, std::string& error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = std::strerror(errno);
    return false;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    error = "not a regular file";
    ::close(fd);
    return false;
  }
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
  size_ = static_cast<uint64_t>(info.st_size);
  return true;
}

ptrdiff_t RandomAccessFile::ReadAt(uint64_t offset, char* buffer, size_t size) const {
  if (offset >= size_) return 0;
  if (size > size_ - offset) size = static_cast<size_t>(size_ - offset);
  size_t done = 0;
  while (done < size) {
    const ssize_t n = ::pread(fd_, buffer + done, size - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;  // the file shrank under us
    done += static_cast<size_t>(n);
  }
  return static_cast<ptrdiff_t>(done);
}

}  // namespace ks::tables
