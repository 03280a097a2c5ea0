#include "importers/mail/maildir_checkpoint.h"

#include <sys/stat.h>

#include <algorithm>

#include "importers/mail/maildir_tree.h"

std::optional<MailboxCheckpoint> TakeMaildirCheckpoint(const std::string& path, uint64_t now) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return std::nullopt;
  std::string why;
  const std::optional<MaildirTree> tree = MaildirTree::Open(path, &why);
  if (!tree) return std::nullopt;
  std::optional<uint64_t> latest;
  for (const std::string& relative : tree->folders()) {
    const std::optional<MaildirFolder> folder = tree->OpenFolder(relative, &why);
    if (!folder) continue;
    for (const MaildirMessage& message : folder->messages()) {
      latest = std::max(latest.value_or(0), message.delivered);
    }
  }
  // Past the latest delivery, but never past the second of the listing.
  const uint64_t next = latest && *latest < now ? *latest + 1 : now;
  MailboxCheckpoint checkpoint;
  checkpoint.path = path;
  checkpoint.offset = next;
  checkpoint.device = static_cast<uint64_t>(info.st_dev);
  checkpoint.inode = static_cast<uint64_t>(info.st_ino);
  return checkpoint;
}

ResumePoint MaildirResumePoint(const MailboxCheckpoints& checkpoints, const std::string& path) {
  const MailboxCheckpoint* checkpoint = checkpoints.Find(path);
  if (checkpoint == nullptr || checkpoint->offset == 0) return {};
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) ||
      static_cast<uint64_t>(info.st_dev) != checkpoint->device ||
      static_cast<uint64_t>(info.st_ino) != checkpoint->inode) {
    return {};
  }
  return {ResumePoint::Kind::kFromOffset, checkpoint->offset};
}
