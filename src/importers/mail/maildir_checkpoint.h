// How far a profile that imports new messages has read a Maildir, kept
// among its mailboxes' checkpoints (MailboxCheckpoints).  A Maildir is never
// appended to: each message is a file named for the second it was
// delivered in, so the checkpoint is a second: the next run reads the
// messages delivered in or after it.
//
// The second is the one after the latest delivery found when the run lists
// the Maildir: every message delivered before it was there to be read.
// When a message arrived in the very second of the listing, more may follow
// in that second: the second itself is kept, and the messages delivered in
// it are read again by the next run (read twice rather than never).  A
// message moved in from another folder keeps its old name and is not new
// to the Maildir.
//
// The checkpoint line is a mailbox's: the second as its offset, the
// folder's device and inode as its identity, and no hash.  A Maildir
// replaced by another folder of the same name is read whole again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "importers/mail/mailbox_checkpoints.h"

// The checkpoint of the Maildir `path` listed in second `now`; nothing when
// it is no Maildir.
std::optional<MailboxCheckpoint> TakeMaildirCheckpoint(const std::string& path, uint64_t now);

// Where to read the Maildir `path` from: kFromOffset with the second of
// the last run that read it, or kFromStart without a checkpoint that fits.
ResumePoint MaildirResumePoint(const MailboxCheckpoints& checkpoints, const std::string& path);
