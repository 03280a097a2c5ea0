// CImapEmail (file type 1062): the messages of a mailbox on an IMAP server,
// each one a document, as every mail source makes them (CIMPMessageImport).
// The server, login, mailbox, firewall and port are the queued IMAP options;
// the file name only names the source for the host.
//
// The mailbox is opened read-only (EXAMINE) and its messages fetched by UID
// in batches with BODY.PEEK[]: nothing on the server changes, not even a
// message's "read" flag.  A profile that imports what is new hands over the
// UIDs already taken (SETDATA::imap_after_uid) and the last one the run is
// to take, so that the profile's next run starts where this one ended; as
// messages are taken the import tells its context the UID up to which all
// were (ImportContext::SetImportedUpTo), so that a run cut short is resumed
// after what it took.
//
// A server that cannot be reached, refuses the login, stops answering or
// drops the connection ends the import with its error (14600-14607) and a
// log line in words; every message imported before stays.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/setdata.h"
#include "importers/mail/imap_connection.h"
#include "importers/mail/message_import.h"

class CImapEmail : public CIMPMessageImport {
 public:
  // The source is a server, not a file: there is nothing to check.
  int CheckFile(const std::string&) override { return 1; }

 protected:
  bool ReadsSourceFile() const override { return false; }
  int ImportSource() override;

 private:
  // Records the failure's error and logs it in words; returns 0.
  int ServerFailed(const ImapServer& server, const ImapFailure& failure);
};

// The server of the queued IMAP options; nothing, with *why set, when they
// do not name one.
std::optional<ImapServer> ImapServerOf(const SETDATA& options, std::string* why);

// A first look at the mailbox of the queued options, before anything is
// imported: what the host's progress bar runs to, and where a profile's
// new messages start.
struct ImapMailboxLook {
  bool looked = false;
  ImapMailboxState state;
  std::optional<uint32_t> last_uid;  // the highest UID in the mailbox now
  uint32_t error = 0;                // when not looked: the error code
  std::string log_line;              // when not looked: why, in words
};
ImapMailboxLook LookAtImapMailbox(const SETDATA& options);

// The mailboxes of the server of the queued IMAP options, for a profile
// that selects them all: the names (UTF-8) of those that can be opened.
struct ImapMailboxList {
  bool listed = false;
  std::vector<std::string> names;
  uint32_t error = 0;    // when not listed: the error code
  std::string log_line;  // when not listed: why, in words
};
ImapMailboxList ListImapMailboxes(const SETDATA& options);

// The log line of a failure: the message of its code with the server's
// name, then libcurl's or the server's words.
std::string ImapFailureLine(const ImapServer& server, const ImapFailure& failure);
