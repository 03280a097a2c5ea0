// Small files that only their owner may read: e-mail profiles hold server
// names, user names and (scrambled) passwords, and the record of what was
// imported from which mailbox.  Folders are made 0700 and files 0600, and a
// file is replaced atomically: a crash leaves the old one or the new one.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// Makes `folder` (and any missing parent) readable by its owner only.  False
// with *why set when it cannot be made or is not a folder.
bool MakePrivateFolder(const std::filesystem::path& folder, std::string* why);

// Writes `text` as `path` (mode 0600) through a temporary file in the same
// folder, flushed to disk and renamed over the old file.  False with *why set
// on failure, the old file then left as it was.
bool WritePrivateFile(const std::filesystem::path& path, std::string_view text, std::string* why);

// The whole of a regular file of at most `most` bytes; nothing with *why set
// when it is missing (*why then empty), not a regular file, larger, or
// unreadable.
std::optional<std::string> ReadSmallFile(const std::filesystem::path& path, size_t most,
                                         std::string* why);

// An exclusive lock on "<path>.lock", held while the object lives, so that
// two processes changing the same files take turns.  locked() is false when
// the lock file cannot be made; the caller then goes on unlocked.
class PrivateFileLock {
 public:
  explicit PrivateFileLock(const std::filesystem::path& path);
  ~PrivateFileLock();
  PrivateFileLock(const PrivateFileLock&) = delete;
  PrivateFileLock& operator=(const PrivateFileLock&) = delete;

  bool locked() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};
