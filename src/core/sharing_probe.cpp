#include "core/sharing_probe.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace ks::core {
namespace {

// Closes the descriptor it is given when it goes.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

bool FlockHeldByAnother(int fd) {
  if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
    ::flock(fd, LOCK_UN);
    return false;
  }
  return errno == EWOULDBLOCK;
}

bool RecordLockHeldByAnother(int fd) {
  struct flock probe {};
  probe.l_type = F_WRLCK;
  probe.l_whence = SEEK_SET;
  probe.l_start = 0;
  probe.l_len = 0;  // the whole file, however long it grows
  if (::fcntl(fd, F_OFD_GETLK, &probe) != 0) return false;
  return probe.l_type != F_UNLCK;
}

}  // namespace

FileSharing ProbeExclusiveReading(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.get() < 0) return FileSharing::kCannotOpen;
  if (FlockHeldByAnother(file.get()) || RecordLockHeldByAnother(file.get())) {
    return FileSharing::kHeldByAnother;
  }
  return FileSharing::kFree;
}

}  // namespace ks::core
