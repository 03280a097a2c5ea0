#include "core/config_store.h"

#include <fcntl.h>
#include <sys/file.h>
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

namespace {

void CreateFolderOf(const fs::path& path) {
  std::error_code ec;
  fs::create_directories(path.parent_path(), ec);
  if (ec) {
    throw ConfigError(
        fmt::format("cannot create {}: {}", path.parent_path().string(), ec.message()));
  }
}

// An exclusive lock held on "<file>.lock" for the lifetime of the object.
class ConfigLock {
 public:
  explicit ConfigLock(const fs::path& path) {
    CreateFolderOf(path);
    const std::string lock_path = path.string() + ".lock";
    fd_ = ::open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0) {
      throw ConfigError(fmt::format("cannot lock {}: {}", lock_path, std::strerror(errno)));
    }
    while (::flock(fd_, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      const std::string reason = std::strerror(errno);
      ::close(fd_);
      throw ConfigError(fmt::format("cannot lock {}: {}", lock_path, reason));
    }
  }
  ~ConfigLock() { ::close(fd_); }
  ConfigLock(const ConfigLock&) = delete;
  ConfigLock& operator=(const ConfigLock&) = delete;

 private:
  int fd_ = -1;
};

}  // namespace

void ConfigStore::Save() const {
  CreateFolderOf(path_);
  const std::string text = values_.Serialize();
  // A name of its own, so that a second process saving at the same moment
  // never writes into this one's half-written file.
  std::string temporary = path_.string() + ".XXXXXX";
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) {
    throw ConfigError(fmt::format("cannot write {}: {}", temporary, std::strerror(errno)));
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

void ConfigStore::Update(const std::function<void(ProfileFile&)>& change, const fs::path& path) {
  const ConfigLock lock(path);
  ConfigStore store = Load(path);
  const std::string before = store.values_.Serialize();
  change(store.values_);
  if (store.values_.Serialize() != before) store.Save();
}

std::string FileSettingsKey(std::string_view database_path) {
  std::string key = "Software\\Kestro\\Windows\\5.0\\File Settings\\";
  for (const char c : database_path) key += (c == '\\' || c == '/') ? '*' : c;
  return key;
}

}  // namespace ks::core
