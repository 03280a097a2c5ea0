// ImapCheckpoints: how far each server mailbox of an IMAP profile that
// selects new messages has been imported.  A server numbers the messages of
// a mailbox with UIDs that only grow, as long as the mailbox's UIDVALIDITY
// stays the same; the next run fetches the UIDs above the last one taken.
// When the UIDVALIDITY changed (the mailbox was rebuilt or replaced), the
// UIDs kept mean nothing and the mailbox is read from its start again.  A
// run cut short (a lost connection, an abort) keeps the UID up to which it
// took every message, so the next run neither misses nor repeats one.
//
// Kept in the profile's run state beside its file, one line per mailbox:
// "imap", the UIDVALIDITY, the last UID, each followed by a blank, then the
// mailbox's key (user@host:port/mailbox) to the line end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct ImapCheckpoint {
  std::string mailbox;  // user@host:port/mailbox
  uint32_t uid_validity = 0;
  uint32_t last_uid = 0;  // every message up to this one was taken

  bool operator==(const ImapCheckpoint&) const = default;
};

class ImapCheckpoints {
 public:
  // Lines that are not IMAP checkpoints are left out.
  static ImapCheckpoints Parse(std::string_view text);
  std::string Serialize() const;

  const ImapCheckpoint* Find(std::string_view mailbox) const;
  // Adds the checkpoint or replaces the one of the same mailbox.
  void Set(ImapCheckpoint checkpoint);
  const std::vector<ImapCheckpoint>& checkpoints() const { return checkpoints_; }

  // The key of a mailbox on a server.
  static std::string KeyOf(std::string_view user, std::string_view server_name,
                           std::string_view mailbox);

 private:
  std::vector<ImapCheckpoint> checkpoints_;
};
