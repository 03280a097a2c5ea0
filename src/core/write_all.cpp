#include "core/write_all.h"

#include <unistd.h>

#include <cerrno>

namespace ks::core {

bool WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

}  // namespace ks::core
