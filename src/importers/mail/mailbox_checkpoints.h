// MailboxCheckpoints: how far each mailbox of a profile that selects new
// messages has been imported, so that the next run reads only what was
// appended since — a start date alone, kept to the day, cannot tell a
// message imported this morning from one that arrived this afternoon.
//
// A checkpoint is the byte offset the import read up to (the mailbox's
// length when it was queued) with a fingerprint of what lies before it: the
// file's identity (device and inode) and a hash of the 4 KiB before the
// offset.  A mailbox whose fingerprint no longer matches was rewritten
// (compacted, replaced, cut short) and is read from its start again.  A
// message appended while the import runs may be read twice, by this run and
// the next; none is ever skipped.
//
// The text form is one line per mailbox: offset, device, inode and hash
// (hexadecimal), each followed by a blank, then the path to the line end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct MailboxCheckpoint {
  std::string path;
  uint64_t offset = 0;  // read up to here
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t hash = 0;  // of the (up to) 4 KiB before offset

  bool operator==(const MailboxCheckpoint&) const = default;
};

// Where a run starts reading a mailbox.
struct ResumePoint {
  enum class Kind {
    kFromStart,   // no usable checkpoint: the whole mailbox, by the date rule
    kFromOffset,  // the first message appended since the checkpoint
    kNothingNew,  // no message was appended since the checkpoint
  };
  Kind kind = Kind::kFromStart;
  uint64_t offset = 0;  // for kFromOffset: where that message's separator line starts
};

class MailboxCheckpoints {
 public:
  // Lines that do not read as checkpoints are left out.
  static MailboxCheckpoints Parse(std::string_view text);
  std::string Serialize() const;

  const MailboxCheckpoint* Find(std::string_view path) const;
  // Adds the checkpoint, or replaces the one of the same path.
  void Set(MailboxCheckpoint checkpoint);
  const std::vector<MailboxCheckpoint>& checkpoints() const { return checkpoints_; }

  // The checkpoint of the mailbox `path` read to its present end; nothing
  // when it cannot be read or is not a regular file.
  static std::optional<MailboxCheckpoint> Take(const std::string& path);

  // Where to read `path` from.  From the checkpoint on, a message starts at
  // "From " at the start of a line (Eudora mailboxes: at "From ???@???"
  // anywhere).
  ResumePoint ResumeAt(const std::string& path, bool eudora) const;

 private:
  std::vector<MailboxCheckpoint> checkpoints_;
};
