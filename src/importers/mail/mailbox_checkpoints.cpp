#include "importers/mail/mailbox_checkpoints.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace {

constexpr size_t kFingerprintBytes = 4096;
constexpr size_t kScanBlock = 64 * 1024;
constexpr std::string_view kSeparator = "From ";
constexpr std::string_view kEudoraSeparator = "From ???@???";

// A file opened for reading, closed when the object goes.
class OpenFile {
 public:
  explicit OpenFile(const std::string& path)
      : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~OpenFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // Size and identity of a regular file.
  bool Stat(struct stat* info) const {
    return fd_ >= 0 && ::fstat(fd_, info) == 0 && S_ISREG(info->st_mode);
  }

  // Up to `count` bytes at `offset`; fewer at the end, nothing on failure.
  std::string ReadAt(uint64_t offset, size_t count) const {
    std::string bytes(count, '\0');
    size_t got = 0;
    while (got < count) {
      const ssize_t n =
          ::pread(fd_, bytes.data() + got, count - got, static_cast<off_t>(offset + got));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      got += static_cast<size_t>(n);
    }
    bytes.resize(got);
    return bytes;
  }

 private:
  int fd_;
};

// FNV-1a, 64 bits: a fingerprint, not a defence against someone forging a
// mailbox's history.
uint64_t Hash(std::string_view bytes) {
  uint64_t hash = 14695981039346656037ull;
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  return hash;
}

uint64_t HashBefore(const OpenFile& file, uint64_t offset) {
  const uint64_t start = offset > kFingerprintBytes ? offset - kFingerprintBytes : 0;
  return Hash(file.ReadAt(start, static_cast<size_t>(offset - start)));
}

bool ReadNumber(std::string_view* text, int base, uint64_t* value) {
  const size_t blank = text->find(' ');
  if (blank == std::string_view::npos || blank == 0) return false;
  const char* first = text->data();
  const auto [end, error] = std::from_chars(first, first + blank, *value, base);
  if (error != std::errc() || end != first + blank) return false;
  text->remove_prefix(blank + 1);
  return true;
}

// The first separator at or after `from` in the file; nothing when there is
// none.
std::optional<uint64_t> FindSeparator(const OpenFile& file, uint64_t from, bool eudora) {
  const std::string_view separator = eudora ? kEudoraSeparator : kSeparator;
  // The byte before the window: a line end before the file's first byte.
  char before = '\n';
  if (from > 0) {
    const std::string byte = file.ReadAt(from - 1, 1);
    if (byte.empty()) return std::nullopt;
    before = byte[0];
  }
  uint64_t position = from;  // the file offset of window[0]
  std::string window;
  while (true) {
    const std::string block = file.ReadAt(position + window.size(), kScanBlock);
    if (block.empty()) return std::nullopt;
    window += block;
    for (size_t at = window.find(separator); at != std::string::npos;
         at = window.find(separator, at + 1)) {
      const char previous = at == 0 ? before : window[at - 1];
      if (eudora || previous == '\n' || previous == '\r') return position + at;
    }
    // Keep what may be the start of a separator cut by the block's end.
    const size_t keep = separator.size() - 1;
    if (window.size() > keep) {
      before = window[window.size() - keep - 1];
      position += window.size() - keep;
      window.erase(0, window.size() - keep);
    }
  }
}

}  // namespace

MailboxCheckpoints MailboxCheckpoints::Parse(std::string_view text) {
  MailboxCheckpoints result;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    MailboxCheckpoint checkpoint;
    if (ReadNumber(&line, 10, &checkpoint.offset) && ReadNumber(&line, 10, &checkpoint.device) &&
        ReadNumber(&line, 10, &checkpoint.inode) && ReadNumber(&line, 16, &checkpoint.hash) &&
        !line.empty()) {
      checkpoint.path = line;
      result.Set(std::move(checkpoint));
    }
  }
  return result;
}

std::string MailboxCheckpoints::Serialize() const {
  std::string text;
  for (const MailboxCheckpoint& c : checkpoints_) {
    text += fmt::format("{} {} {} {:x} {}\n", c.offset, c.device, c.inode, c.hash, c.path);
  }
  return text;
}

const MailboxCheckpoint* MailboxCheckpoints::Find(std::string_view path) const {
  const auto it = std::find_if(checkpoints_.begin(), checkpoints_.end(),
                               [path](const MailboxCheckpoint& c) { return c.path == path; });
  return it == checkpoints_.end() ? nullptr : &*it;
}

void MailboxCheckpoints::Set(MailboxCheckpoint checkpoint) {
  if (checkpoint.path.empty() || checkpoint.path.find('\n') != std::string::npos) return;
  const auto it =
      std::find_if(checkpoints_.begin(), checkpoints_.end(),
                   [&checkpoint](const MailboxCheckpoint& c) { return c.path == checkpoint.path; });
  if (it != checkpoints_.end()) {
    *it = std::move(checkpoint);
  } else {
    checkpoints_.push_back(std::move(checkpoint));
  }
}

std::optional<MailboxCheckpoint> MailboxCheckpoints::Take(const std::string& path) {
  const OpenFile file(path);
  struct stat info {};
  if (!file.Stat(&info)) return std::nullopt;
  MailboxCheckpoint checkpoint;
  checkpoint.path = path;
  checkpoint.offset = static_cast<uint64_t>(info.st_size);
  checkpoint.device = static_cast<uint64_t>(info.st_dev);
  checkpoint.inode = static_cast<uint64_t>(info.st_ino);
  checkpoint.hash = HashBefore(file, checkpoint.offset);
  return checkpoint;
}

ResumePoint MailboxCheckpoints::ResumeAt(const std::string& path, bool eudora) const {
  const MailboxCheckpoint* checkpoint = Find(path);
  if (checkpoint == nullptr) return {};
  const OpenFile file(path);
  struct stat info {};
  if (!file.Stat(&info)) return {};
  const auto size = static_cast<uint64_t>(info.st_size);
  if (static_cast<uint64_t>(info.st_dev) != checkpoint->device ||
      static_cast<uint64_t>(info.st_ino) != checkpoint->inode || size < checkpoint->offset ||
      HashBefore(file, checkpoint->offset) != checkpoint->hash) {
    return {};
  }
  const std::optional<uint64_t> next = FindSeparator(file, checkpoint->offset, eudora);
  if (!next) return {ResumePoint::Kind::kNothingNew, 0};
  return {ResumePoint::Kind::kFromOffset, *next};
}
