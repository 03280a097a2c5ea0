#include "importers/mail/dbx_checkpoint.h"

#include <sys/stat.h>

#include <memory>

#include "importers/mail/dbx_bytes.h"
#include "importers/mail/dbx_file_header.h"
#include "importers/mail/dbx_index_tree.h"
#include "importers/mail/dbx_message_record.h"
#include "importers/mail/dbx_message_text.h"
#include "importers/mail/mailbox_bytes.h"

namespace {

// FNV-1a, 64 bits, as the mailboxes' fingerprints.
uint64_t Hash(std::string_view bytes, uint64_t hash = 14695981039346656037ull) {
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  return hash;
}

// What the index of a folder says of its numbers.
struct FolderNumbers {
  bool readable = false;  // a folder of messages whose index could be walked
  std::optional<uint32_t> highest;
  uint32_t highest_record = 0;            // the record of the highest
  std::optional<uint32_t> wanted_record;  // the record numbered as asked
};

// Walks the index of `file` for its highest number and for the record
// numbered `wanted`, if asked (the first of each, should two records
// carry one number).  Records that cannot be read are
// passed over; damage to the index makes the folder unreadable here (its
// import reports it).
FolderNumbers NumbersOf(const DbxBytes& file, std::optional<uint32_t> wanted) {
  FolderNumbers numbers;
  const DbxFileHeader header = ReadDbxFileHeader(file.Span(0, file.size()));
  if (header.kind != DbxFileKind::kMessageFolder || header.cut_short) return numbers;
  DbxIndexTree index(file, header.index_root);
  while (const std::optional<uint32_t> offset = index.Next()) {
    DbxMessageRecord record;
    DbxProblem problem;
    if (!ReadDbxMessageRecord(file, *offset, &record, &problem) || !record.index) continue;
    if (!numbers.highest || *record.index > *numbers.highest) {
      numbers.highest = record.index;
      numbers.highest_record = *offset;
    }
    if (record.index == wanted && !numbers.wanted_record) numbers.wanted_record = *offset;
  }
  numbers.readable = !index.problem().has_value();
  return numbers;
}

// The fingerprint of the message whose record is at `offset`.
std::optional<uint64_t> FingerprintAt(const DbxBytes& file, uint32_t offset) {
  DbxMessageRecord record;
  DbxProblem problem;
  if (!ReadDbxMessageRecord(file, offset, &record, &problem)) return std::nullopt;
  uint64_t hash = Hash(record.subject);
  hash = Hash(std::string_view("\0", 1), hash);
  if (record.text_offset) {
    std::string text;
    if (!ReadDbxMessageText(file, *record.text_offset, &text, &problem)) return std::nullopt;
    hash = Hash(text, hash);
  }
  return hash;
}

}  // namespace

std::optional<MailboxCheckpoint> DbxCheckpointOf(std::string_view bytes) {
  const DbxBytes file(bytes);
  const FolderNumbers numbers = NumbersOf(file, std::nullopt);
  if (!numbers.readable) return std::nullopt;
  MailboxCheckpoint checkpoint;
  if (numbers.highest) {
    const std::optional<uint64_t> fingerprint = FingerprintAt(file, numbers.highest_record);
    if (!fingerprint) return std::nullopt;
    checkpoint.offset = uint64_t{*numbers.highest} + 1;
    checkpoint.hash = *fingerprint;
  }
  return checkpoint;
}

ResumePoint DbxResumePointIn(std::string_view bytes, const MailboxCheckpoint& checkpoint) {
  if (checkpoint.offset == 0 || checkpoint.offset - 1 > UINT32_MAX) return {};
  const DbxBytes file(bytes);
  const auto last_taken = static_cast<uint32_t>(checkpoint.offset - 1);
  const FolderNumbers numbers = NumbersOf(file, last_taken);
  if (!numbers.readable || !numbers.wanted_record ||
      FingerprintAt(file, *numbers.wanted_record) != checkpoint.hash) {
    return {};
  }
  if (*numbers.highest <= last_taken) return {ResumePoint::Kind::kNothingNew, 0};
  return {ResumePoint::Kind::kFromOffset, checkpoint.offset};
}

std::optional<MailboxCheckpoint> TakeDbxCheckpoint(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  int error = 0;
  const std::unique_ptr<MappedMailbox> mapped = MappedMailbox::MapFile(path, &error);
  if (!mapped) return std::nullopt;
  std::optional<MailboxCheckpoint> checkpoint = DbxCheckpointOf(mapped->view());
  if (!checkpoint) return std::nullopt;
  checkpoint->path = path;
  checkpoint->device = static_cast<uint64_t>(info.st_dev);
  checkpoint->inode = static_cast<uint64_t>(info.st_ino);
  return checkpoint;
}

ResumePoint DbxResumePoint(const MailboxCheckpoints& checkpoints, const std::string& path) {
  const MailboxCheckpoint* checkpoint = checkpoints.Find(path);
  if (checkpoint == nullptr) return {};
  int error = 0;
  const std::unique_ptr<MappedMailbox> mapped = MappedMailbox::MapFile(path, &error);
  if (!mapped) return {};
  return DbxResumePointIn(mapped->view(), *checkpoint);
}
