#include "importers/tables/read_only_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "importers/tables/table_source.h"

namespace ks::tables {

ReadOnlyFile::ReadOnlyFile(const std::string& path) : path_(path) {
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    throw TableError(TableError::Kind::kNotFound, path + ": " + std::strerror(errno));
  }
  struct stat info {};
  if (::fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd_);
    throw TableError(TableError::Kind::kNotFound, path + ": not a regular file");
  }
  size_ = static_cast<uint64_t>(info.st_size);
}

ReadOnlyFile::~ReadOnlyFile() {
  ::close(fd_);
}

void ReadOnlyFile::ReadAt(uint64_t offset, size_t count, std::string& out) const {
  // Checked before the buffer grows: a wild length read from the file must
  // not reserve memory for bytes the file does not have.
  CheckHolds(offset, count);
  out.resize(count);
  ReadAt(offset, count, out.data());
}

void ReadOnlyFile::CheckHolds(uint64_t offset, uint64_t count) const {
  if (!Holds(offset, count)) {
    throw TableError(TableError::Kind::kDamaged,
                     path_ + ": a structure of the file points beyond its end");
  }
}

size_t ReadOnlyFile::ReadUpTo(uint64_t offset, size_t count, char* out) const {
  if (offset >= size_) return 0;
  count = static_cast<size_t>(std::min<uint64_t>(count, size_ - offset));
  ReadAt(offset, count, out);
  return count;
}

void ReadOnlyFile::ReadAt(uint64_t offset, size_t count, char* out) const {
  CheckHolds(offset, count);
  size_t done = 0;
  while (done < count) {
    const ssize_t got = ::pread(fd_, out + done, count - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      // The file shrank under us, or the device failed.
      throw TableError(
          TableError::Kind::kOther,
          path_ + ": cannot be read: " + (got < 0 ? std::strerror(errno) : "unexpected end"));
    }
    done += static_cast<size_t>(got);
  }
}

}  // namespace ks::tables
