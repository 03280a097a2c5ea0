#include "converted_copy_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "word_error.h"

namespace ks::word {
namespace {

std::string TemporaryFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") folder.clear();
  return folder + "/KSTmpImp/";
}

}  // namespace

std::string WriteConvertedCopy(std::string_view text) {
  const std::string folder = TemporaryFolder();
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    throw WordError("the temporary folder " + folder + " cannot be made: " + std::strerror(errno));
  }
  std::string name = folder + "KSWordXXXXXX.txt";
  std::vector<char> path(name.begin(), name.end());
  path.push_back('\0');
  const int fd = ::mkstemps(path.data(), 4);  // made with mode 0600
  if (fd < 0) throw WordError("no converted copy can be made in " + folder + ": " + std::strerror(errno));
  name = path.data();
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(fd, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const std::string why = std::strerror(errno);
      ::close(fd);
      ::unlink(name.c_str());
      throw WordError("the converted copy cannot be written: " + why);
    }
    written += static_cast<size_t>(n);
  }
  if (::close(fd) != 0) {
    const std::string why = std::strerror(errno);
    ::unlink(name.c_str());
    throw WordError("the converted copy cannot be written: " + why);
  }
  return name;
}

}  // namespace ks::word
