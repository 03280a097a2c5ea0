#include "importers/mail/mail_store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace {

namespace fs = std::filesystem;

// Files looked at when a store's tree is indexed: enough for any mail
// program's attachment folders, bounded for a store pointed at a huge tree.
constexpr size_t kMaxIndexedEntries = 200000;
constexpr int kMaxIndexDepth = 8;

std::string RealPath(const std::string& path) {
  std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                       &std::free);
  return resolved ? std::string(resolved.get()) : std::string();
}

bool IsWindowsPath(const std::string& name) {
  const bool drive = name.size() >= 2 && name[1] == ':' &&
                     ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
  return drive || name.find('\\') != std::string::npos;
}

std::string WindowsFileName(const std::string& name) {
  const size_t cut = name.find_last_of("\\/:");
  return cut == std::string::npos ? name : name.substr(cut + 1);
}

}  // namespace

MailStore::MailStore(const std::string& mailbox_path, const AttachmentRules& rules)
    : max_bytes_(rules.max_bytes) {
  const fs::path parent = fs::path(mailbox_path).parent_path();
  mailbox_folder_ = parent.empty() ? "." : parent.string();
  std::vector<std::string> folders{mailbox_folder_};
  folders.insert(folders.end(), rules.folders.begin(), rules.folders.end());
  for (const std::string& folder : folders) {
    const std::string real = RealPath(folder);
    if (!real.empty()) roots_.push_back(real);
  }
}

bool MailStore::InsideStore(const std::string& real_path) const {
  for (const std::string& root : roots_) {
    const std::string prefix = root == "/" ? root : root + "/";
    if (real_path.compare(0, prefix.size(), prefix) == 0) return true;
  }
  return false;
}

std::optional<std::string> MailStore::FindByFileName(const std::string& file_name) {
  if (!indexed_) {
    indexed_ = true;
    size_t entries = 0;
    for (const std::string& root : roots_) {
      std::error_code error;
      fs::recursive_directory_iterator it(root, fs::directory_options::skip_permission_denied,
                                          error);
      for (; !error && it != fs::recursive_directory_iterator() && entries < kMaxIndexedEntries;
           it.increment(error)) {
        ++entries;
        if (it.depth() >= kMaxIndexDepth) it.disable_recursion_pending();
        std::error_code kind_error;
        if (!it->is_regular_file(kind_error)) continue;
        by_file_name_.emplace(it->path().filename().string(), it->path().string());
      }
    }
  }
  const auto found = by_file_name_.find(file_name);
  if (found == by_file_name_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> MailStore::Find(const std::string& name, std::string* why) {
  if (IsWindowsPath(name)) {
    const std::string file_name = WindowsFileName(name);
    if (file_name.empty() || file_name == "." || file_name == "..") {
      *why = fmt::format("Attachment \"{}\" names no file.", name);
      return std::nullopt;
    }
    const std::optional<std::string> found = FindByFileName(file_name);
    if (!found) {
      *why = fmt::format(
          "No file \"{}\" is in the mail store (the mailbox's folder and the "
          "attachment folders).",
          file_name);
      return std::nullopt;
    }
    // A link in the store may point anywhere: what counts is where it leads.
    const std::string real = RealPath(*found);
    if (real.empty() || !InsideStore(real)) {
      *why = fmt::format("Attachment file \"{}\" was not read: it leads outside the mail store.",
                         *found);
      return std::nullopt;
    }
    return real;
  }
  const fs::path given(name);
  const std::string path =
      given.is_absolute() ? name : (fs::path(mailbox_folder_) / given).string();
  const std::string real = RealPath(path);
  if (real.empty()) {
    why->clear();  // missing: the usual log line says it all
    return std::nullopt;
  }
  if (!InsideStore(real)) {
    *why = fmt::format(
        "Attachment file \"{}\" was not read: it lies outside the mail store (the "
        "mailbox's folder and the attachment folders).",
        name);
    return std::nullopt;
  }
  return real;
}

bool MailStore::Read(const std::string& path, std::string* content, std::string* why) const {
  content->clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) {
    *why = fmt::format("Attachment file \"{}\": {}.", path, std::strerror(errno));
    return false;
  }
  struct stat info {};
  bool read_whole = false;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    *why = fmt::format("Attachment file \"{}\" was not read: it is not a regular file.", path);
  } else if (static_cast<uint64_t>(info.st_size) > max_bytes_) {
    *why = fmt::format(
        "Attachment file \"{}\" was not read: it is {} bytes, more than the limit of "
        "{} bytes.",
        path, info.st_size, max_bytes_);
  } else {
    // The size is known and bounded; a file that grows while it is read is
    // cut at the limit.
    content->resize(static_cast<size_t>(info.st_size));
    size_t filled = 0;
    while (filled < content->size()) {
      const ssize_t got = ::read(fd, content->data() + filled, content->size() - filled);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) break;
      filled += static_cast<size_t>(got);
    }
    content->resize(filled);
    read_whole = true;
  }
  ::close(fd);
  if (!read_whole) content->clear();
  return read_whole;
}
