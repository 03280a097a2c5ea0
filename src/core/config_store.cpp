#include "core/config_store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace ks::core {
namespace fs = std::filesystem;

fs::path ConfigStore::DefaultPath() {
  if (const char* dir = std::getenv("KESTRO_CONFIG_DIR"); dir != nullptr && *dir != '\0') {
    return fs::path(dir) / "kestro.conf";
  }
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg != '\0') {
    return fs::path(xdg) / "kestro" / "kestro.conf";
  }
  const char* home = std::getenv("HOME");
  return fs::path(home != nullptr ? home : ".") / ".config" / "kestro" / "kestro.conf";
}

ConfigStore ConfigStore::Load(const fs::path& path) {
  ConfigStore store;
  store.path_ = path;
  std::error_code ec;
  if (!fs::exists(path, ec)) {
    if (ec)
      throw ConfigError(
          fmt::format("cannot read configuration {}: {}", path.string(), ec.message()));
    store.values_ = *ProfileFile::Parse("", ProfileFile::Strictness::kStrict);
    return store;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw ConfigError(
        fmt::format("cannot read configuration {}: {}", path.string(), std::strerror(errno)));
  }
  std::stringstream text;
  text << in.rdbuf();
  ProfileFile::ParseError error;
  auto parsed = ProfileFile::Parse(text.str(), ProfileFile::Strictness::kStrict, &error);
  if (!parsed) {
    throw ConfigError(
        fmt::format("the configuration {} is damaged at line {} (\"{}\"); it was left as it is: "
                    "mend or remove it",
                    path.string(), error.line, error.text));
  }
  store.values_ = std::move(*parsed);
  return store;
}

void ConfigStore::Save() const {
  std::error_code ec;
  fs::create_directories(path_.parent_path(), ec);
  if (ec) {
    throw ConfigError(
        fmt::format("cannot create {}: {}", path_.parent_path().string(), ec.message()));
  }
  const std::string text = values_.Serialize();
  const fs::path temporary = path_.string() + ".tmp";
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) {
    throw ConfigError(fmt::format("cannot write {}: {}", temporary.string(), std::strerror(errno)));
  }
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(fd, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    written += static_cast<size_t>(n);
  }
  const int saved_errno = errno;
  const bool ok = written == text.size() && ::fsync(fd) == 0;
  ::close(fd);
  if (!ok || ::rename(temporary.c_str(), path_.c_str()) != 0) {
    const std::string reason = std::strerror(ok ? errno : saved_errno);
    ::unlink(temporary.c_str());
    throw ConfigError(fmt::format("cannot save configuration {}: {}", path_.string(), reason));
  }
  // Make the rename itself durable.
  const int dir = ::open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

std::string FileSettingsKey(std::string_view database_path) {
  std::string key = "Software\\Kestro\\Windows\\5.0\\File Settings\\";
  for (const char c : database_path) key += (c == '\\' || c == '/') ? '*' : c;
  return key;
}

}  // namespace ks::core
