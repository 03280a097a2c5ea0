// FileProbe: reads the 100-byte SQLite header with plain POSIX calls.
#include "engine/file_probe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "engine/engine_error.h"
#include "engine/schema.h"

namespace ks::engine {
namespace {

constexpr size_t kHeaderSize = 100;
constexpr char kMagic[] = "SQLite format 3";  // 16 bytes with its terminator

uint32_t BigEndian32(const unsigned char* bytes) {
  return (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) |
         uint32_t{bytes[3]};
}

// Owns a file descriptor for the length of the probe.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

uint32_t ProbeDatabaseFile(const std::string& path) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) throw EngineError(ErrnoCode(errno), "cannot find file");
  if (!S_ISREG(info.st_mode)) throw EngineError(KSENG_ERR_NOT_DATABASE, "not a regular file");

  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) throw EngineError(ErrnoCode(errno), "cannot open file for reading");

  unsigned char header[kHeaderSize];
  size_t have = 0;
  while (have < kHeaderSize) {
    ssize_t got = read(file.get(), header + have, kHeaderSize - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw EngineError(KSENG_ERR_IO, "cannot read file header");
    if (got == 0) break;
    have += static_cast<size_t>(got);
  }
  if (have < kHeaderSize || std::memcmp(header, kMagic, sizeof kMagic) != 0) {
    throw EngineError(KSENG_ERR_NOT_DATABASE, "not an SQLite database");
  }
  if (BigEndian32(header + 68) != kApplicationId) {
    throw EngineError(KSENG_ERR_FOREIGN, "SQLite database of another application");
  }
  // Bytes 18 and 19 are 1 for a rollback journal, 2 for WAL.  Our files are
  // always rollback-journal files: a reader of a WAL file would create files.
  if (header[18] != 1 || header[19] != 1) {
    throw EngineError(KSENG_ERR_FOREIGN, "database not in rollback-journal mode");
  }
  return BigEndian32(header + 60);
}

}  // namespace ks::engine
