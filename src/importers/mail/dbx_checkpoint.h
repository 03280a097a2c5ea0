// How far a profile that imports new messages has read an Outlook Express
// folder file (.dbx), kept among its mailboxes' checkpoints
// (MailboxCheckpoints).  A folder file keeps its messages in an index, not
// one after the other, and the program reuses the room of deleted ones: no
// byte offset says what is new.  But it numbers each message as it arrives,
// one above the last, so the checkpoint is a number: the next run takes the
// messages numbered from it on.
//
// The number is the one after the highest found when the run looked at the
// folder, with a fingerprint of the message that carries the highest (its
// subject and text).  Compacting a folder rewrites the file but keeps the
// numbers; a folder rebuilt or replaced numbers from the start again.  So a
// checkpoint stands while its message is still there, under its number,
// with the same fingerprint; otherwise, as when that message was deleted,
// the folder is read whole by the profile's start date, as the other
// sources without a checkpoint are.  A message arriving while the run reads
// may be read by this run and the next; none is ever skipped.
//
// The checkpoint line is a mailbox's: the number as its offset, the file's
// device and inode (not compared: compacting makes a new file) and the
// fingerprint as its hash.  A folder without a numbered message has
// number 0, which never stands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "importers/mail/mailbox_checkpoints.h"

// The checkpoint of the folder file `path` as it is now; nothing when it is
// no folder of messages or cannot be read.
std::optional<MailboxCheckpoint> TakeDbxCheckpoint(const std::string& path);

// Where to read the folder file `path` from: kFromOffset with the first
// message number not taken, kNothingNew when there is none above it, or
// kFromStart without a checkpoint that stands.
ResumePoint DbxResumePoint(const MailboxCheckpoints& checkpoints, const std::string& path);

// The same two over the bytes of a folder file: its number and fingerprint
// (no path or identity), and where to read it from after `checkpoint`.
std::optional<MailboxCheckpoint> DbxCheckpointOf(std::string_view file);
ResumePoint DbxResumePointIn(std::string_view file, const MailboxCheckpoint& checkpoint);
