#include "importers/mail/maildir_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "importers/mail/maildir_name.h"

namespace {

// Bounds for a folder pointed at a huge tree by mistake.
constexpr size_t kMostSubFolders = 10000;
constexpr size_t kMostEntriesPerFolder = 5'000'000;

FolderHandle OpenFolderAt(int parent, const char* name) {
  return FolderHandle(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The names in the folder `fd`, without "." and "..".  The folder stays
// open for its owner: the listing reads through a duplicate.
bool ListNames(int fd, std::vector<std::string>* names) {
  const int copy = ::dup(fd);
  if (copy < 0) return false;
  DIR* dir = ::fdopendir(copy);
  if (dir == nullptr) {
    ::close(copy);
    return false;
  }
  ::rewinddir(dir);
  while (const dirent* entry = ::readdir(dir)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (names->size() >= kMostEntriesPerFolder) break;
    names->emplace_back(name);
  }
  ::closedir(dir);
  return true;
}

bool HoldsMailFolders(int fd) {
  struct stat info {};
  const auto is_folder = [&](const char* name) {
    return ::fstatat(fd, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
  };
  return is_folder("cur") || is_folder("new");
}

std::string ErrnoText(int error) {
  return std::strerror(error);
}

// Lists cur/ or new/ into `folder`.
void ListMessages(int fd, bool in_new, const std::string& shown_path,
                  std::vector<MaildirMessage>* messages, std::vector<std::string>* skipped) {
  std::vector<std::string> names;
  if (!ListNames(fd, &names)) {
    skipped->push_back(
        fmt::format("{}: the folder cannot be read: {}.", shown_path, ErrnoText(errno)));
    return;
  }
  for (std::string& file_name : names) {
    const std::optional<MaildirName> name = ParseMaildirName(file_name);
    if (!name) continue;  // hidden files are the mail programs' own
    struct stat info {};
    const std::string shown = shown_path + "/" + file_name;
    if (::fstatat(fd, file_name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno != ENOENT) {
        skipped->push_back(
            fmt::format("{}: skipped, it cannot be examined: {}.", shown, ErrnoText(errno)));
      }
      continue;  // moved or removed since the listing: the next run finds it
    }
    if (S_ISLNK(info.st_mode)) {
      skipped->push_back(fmt::format("{}: skipped, a symbolic link is not followed.", shown));
      continue;
    }
    if (!S_ISREG(info.st_mode)) {
      skipped->push_back(fmt::format("{}: skipped, it is not a regular file.", shown));
      continue;
    }
    MaildirMessage message;
    message.in_new = in_new;
    message.size = static_cast<uint64_t>(info.st_size);
    message.delivered =
        name->delivered.value_or(static_cast<uint64_t>(std::max<int64_t>(info.st_mtime, 0)));
    message.unique = std::string(name->unique);
    message.file_name = std::move(file_name);
    messages->push_back(std::move(message));
  }
}

}  // namespace

FolderHandle::~FolderHandle() {
  if (fd_ >= 0) ::close(fd_);
}

FolderHandle& FolderHandle::operator=(FolderHandle&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

std::optional<MaildirTree> MaildirTree::Open(const std::string& path, std::string* why) {
  MaildirTree tree;
  tree.path_ = path;
  tree.root_ =
      std::make_shared<FolderHandle>(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!tree.root_->valid()) {
    *why = errno == ENOTDIR
               ? fmt::format(
                     "{} is not a folder: a Maildir is a folder holding "
                     "cur/ and new/.",
                     path)
               : fmt::format("{}: the folder cannot be opened: {}.", path, ErrnoText(errno));
    return std::nullopt;
  }
  if (!HoldsMailFolders(tree.root_->fd())) {
    *why = fmt::format("{} is not a Maildir: it holds neither cur/ nor new/.", path);
    return std::nullopt;
  }
  tree.folders_.emplace_back();
  std::vector<std::string> names;
  ListNames(tree.root_->fd(), &names);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    if (name.size() < 2 || name[0] != '.' || name == "..") continue;
    if (tree.folders_.size() > kMostSubFolders) break;
    const FolderHandle sub = OpenFolderAt(tree.root_->fd(), name.c_str());
    if (sub.valid() && HoldsMailFolders(sub.fd())) tree.folders_.push_back(name);
  }
  return tree;
}

bool MaildirTree::IsMaildir(const std::string& path) {
  const FolderHandle root(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return root.valid() && HoldsMailFolders(root.fd());
}

std::optional<MaildirFolder> MaildirTree::OpenFolder(const std::string& relative,
                                                     std::string* why) const {
  MaildirFolder folder;
  folder.relative_ = relative;
  folder.path_ = relative.empty() ? path_ : (std::filesystem::path(path_) / relative).string();
  FolderHandle own;
  int fd = root_->fd();
  if (!relative.empty()) {
    own = OpenFolderAt(root_->fd(), relative.c_str());
    if (!own.valid()) {
      *why = fmt::format("{}: the folder cannot be opened: {}.", folder.path_, ErrnoText(errno));
      return std::nullopt;
    }
    fd = own.fd();
  }
  folder.cur_ = OpenFolderAt(fd, "cur");
  folder.new_ = OpenFolderAt(fd, "new");
  if (!folder.cur_.valid() && !folder.new_.valid()) {
    *why = fmt::format("{} is no longer a Maildir: it holds neither cur/ nor new/.", folder.path_);
    return std::nullopt;
  }
  if (folder.cur_.valid()) {
    ListMessages(folder.cur_.fd(), false, folder.path_ + "/cur", &folder.messages_,
                 &folder.skipped_);
  }
  if (folder.new_.valid()) {
    ListMessages(folder.new_.fd(), true, folder.path_ + "/new", &folder.messages_,
                 &folder.skipped_);
  }
  std::sort(folder.messages_.begin(), folder.messages_.end(),
            [](const MaildirMessage& a, const MaildirMessage& b) {
              const DeliveryKey x{a.delivered, a.unique};
              const DeliveryKey y{b.delivered, b.unique};
              if (DeliveredBefore(x, y)) return true;
              if (DeliveredBefore(y, x)) return false;
              // The same message in both (a rename caught half way): cur/ first.
              return !a.in_new && b.in_new;
            });
  return folder;
}

MaildirFolder::ReadResult MaildirFolder::Read(const MaildirMessage& message, uint64_t limit,
                                              std::string* bytes, std::string* why) const {
  const std::string shown =
      fmt::format("{}/{}/{}", path_, message.in_new ? "new" : "cur", message.file_name);
  const int parent = message.in_new ? new_.fd() : cur_.fd();
  const FolderHandle file(
      ::openat(parent, message.file_name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file.valid()) {
    const int error = errno;
    // Read and moved to cur/ (or deleted) by a mail program meanwhile.
    if (error == ENOENT) {
      *why = fmt::format("{}: skipped, it was moved or removed while the import ran.", shown);
      return ReadResult::kGone;
    }
    if (error == ELOOP) {
      *why = fmt::format("{}: skipped, a symbolic link is not followed.", shown);
      return ReadResult::kNotRegular;
    }
    *why = fmt::format("{}: skipped, it cannot be read: {}.", shown, ErrnoText(error));
    return ReadResult::kUnreadable;
  }
  struct stat info {};
  if (::fstat(file.fd(), &info) != 0 || !S_ISREG(info.st_mode)) {
    *why = fmt::format("{}: skipped, it is not a regular file.", shown);
    return ReadResult::kNotRegular;
  }
  if (static_cast<uint64_t>(info.st_size) > limit) {
    *why = fmt::format("{}: skipped, it holds {} bytes, more than the {} a message may hold.",
                       shown, info.st_size, limit);
    return ReadResult::kTooLarge;
  }
  bytes->assign(static_cast<size_t>(info.st_size), '\0');
  size_t got = 0;
  while (got < bytes->size()) {
    const ssize_t n = ::read(file.fd(), bytes->data() + got, bytes->size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      *why = fmt::format("{}: skipped, reading it failed: {}.", shown, ErrnoText(errno));
      return ReadResult::kUnreadable;
    }
    if (n == 0) break;  // cut short meanwhile: what is there is the message
    got += static_cast<size_t>(n);
  }
  bytes->resize(got);
  return ReadResult::kRead;
}

std::optional<MaildirMessage> MaildirFolder::MovedToCur(const MaildirMessage& message) const {
  if (!message.in_new || !cur_.valid()) return std::nullopt;
  std::vector<MaildirMessage> listed;
  std::vector<std::string> ignored;
  ListMessages(cur_.fd(), false, path_ + "/cur", &listed, &ignored);
  for (MaildirMessage& candidate : listed) {
    if (candidate.unique == message.unique) {
      candidate.delivered = message.delivered;
      return std::move(candidate);
    }
  }
  return std::nullopt;
}

uint64_t MaildirTree::MessageBytes(const std::string& path) {
  std::string ignored;
  const std::optional<MaildirTree> tree = Open(path, &ignored);
  if (!tree) return 0;
  uint64_t total = 0;
  for (const std::string& relative : tree->folders()) {
    const std::optional<MaildirFolder> folder = tree->OpenFolder(relative, &ignored);
    if (!folder) continue;
    for (const MaildirMessage& message : folder->messages()) total += message.size;
  }
  return total;
}

std::string MaildirMailboxName(const std::string& path, const std::string& relative) {
  if (!relative.empty()) return relative.substr(1);
  std::error_code ignored;
  std::filesystem::path folder = std::filesystem::absolute(path, ignored).lexically_normal();
  if (folder.filename().empty()) folder = folder.parent_path();
  std::string name = folder.filename().string();
  return name.empty() || name == "." ? path : name;
}
