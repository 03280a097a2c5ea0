// MaildirTree: a Maildir on disk, its folders and their messages in
// delivery order.  A Maildir is a folder holding cur/ (messages seen by a
// mail program) and new/ (messages delivered since); tmp/ holds deliveries
// still being written and is never read.  A Maildir++ tree adds a sub-folder
// per mail folder beside them, named ".Name" (".Sent", ".Lists.kernel"),
// each a Maildir of its own.
//
// Everything found in a Maildir is untrusted, names included: the walk
// opens each folder and file relative to the folder above it and never
// follows a symbolic link, so nothing outside the folder the user named is
// ever read, whatever links or renames happen while it runs.  Entries that
// are no message file (links, folders, devices) are listed as skipped with
// the reason, for the log.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A file descriptor, closed with its owner.
class FolderHandle {
 public:
  FolderHandle() = default;
  explicit FolderHandle(int fd) : fd_(fd) {}
  ~FolderHandle();
  FolderHandle(FolderHandle&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  FolderHandle& operator=(FolderHandle&& other) noexcept;
  FolderHandle(const FolderHandle&) = delete;
  FolderHandle& operator=(const FolderHandle&) = delete;

  int fd() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

struct MaildirMessage {
  std::string file_name;  // in cur/ or new/
  bool in_new = false;
  uint64_t size = 0;
  uint64_t delivered = 0;  // second of delivery: from its name, else the file's time
  std::string unique;      // the name without its flags
};

// One folder of the tree, open, its messages listed.
class MaildirFolder {
 public:
  // "" for the Maildir itself, ".Name" for a Maildir++ sub-folder.
  const std::string& relative() const { return relative_; }
  // The messages of cur/ and new/, in delivery order.
  const std::vector<MaildirMessage>& messages() const { return messages_; }
  // One line per entry that is no message file, saying why it is skipped.
  const std::vector<std::string>& skipped() const { return skipped_; }

  enum class ReadResult { kRead, kGone, kNotRegular, kTooLarge, kUnreadable };
  // The whole file of `message`, at most `limit` bytes; *why says what
  // went wrong otherwise.  The file is opened without following a link and
  // without waiting on a FIFO.
  ReadResult Read(const MaildirMessage& message, uint64_t limit, std::string* bytes,
                  std::string* why) const;

  // Where a message of new/ went when a mail program read it meanwhile: the
  // file of cur/ with the same unique name (its flags added); nothing when
  // there is none.
  std::optional<MaildirMessage> MovedToCur(const MaildirMessage& message) const;

 private:
  friend class MaildirTree;
  std::string relative_;
  std::string path_;  // for the texts of the log
  FolderHandle cur_;
  FolderHandle new_;
  std::vector<MaildirMessage> messages_;
  std::vector<std::string> skipped_;
};

class MaildirTree {
 public:
  // Opens the Maildir at `path`: a folder holding cur/ or new/ (or both).
  // Nothing, with *why, when it cannot be opened or is no Maildir.
  static std::optional<MaildirTree> Open(const std::string& path, std::string* why);

  // Whether `path` is a folder holding cur/ or new/, as a real folder.
  static bool IsMaildir(const std::string& path);

  const std::string& path() const { return path_; }
  // "" (the Maildir itself) first, then the Maildir++ sub-folders by name.
  const std::vector<std::string>& folders() const { return folders_; }

  // Opens and lists one of folders(); nothing, with *why, when it cannot be
  // opened (it was removed or replaced by a link meanwhile).
  std::optional<MaildirFolder> OpenFolder(const std::string& relative, std::string* why) const;

  // The bytes of every message file of every folder, as the total the
  // progress runs to; 0 when `path` is no Maildir.
  static uint64_t MessageBytes(const std::string& path);

 private:
  std::string path_;
  std::shared_ptr<FolderHandle> root_;
  std::vector<std::string> folders_;
};

// The MailBox a folder of the Maildir at `path` shows: the Maildir's own
// folder name, or the sub-folder's name without its leading ".".
std::string MaildirMailboxName(const std::string& path, const std::string& relative);
