// The Maildir importer (file type 1200): each message file of a Maildir
// becomes one document, as a mailbox's messages do.  The source is the
// Maildir folder; its messages are read from cur/ and new/ in delivery
// order (MaildirTree), then those of each Maildir++ sub-folder, each
// sub-folder its own MailBox.  The MailBox field shows the Maildir's folder
// name, or the sub-folder's name.
//
// Progress counts the bytes of the message files read, against the total of
// the queued Maildir (MaildirTree::MessageBytes).  An e-mail profile that
// imports only new messages hands the second its last run began in as the
// import's start offset: only messages delivered in or after it are read.
//
// A file that is no message (a link, a folder, an empty file, binary data,
// one too large or unreadable) is logged and skipped; the messages around it
// are imported.  A file that cannot be read at all means the Maildir was not
// imported whole.
#pragma once

#include <string>

#include "importers/mail/message_import.h"

class CIMPMaildirImport : public CIMPMessageImport {
 public:
  // 1 when the file name is a folder holding cur/ or new/.
  int CheckFile(const std::string& file_name) override;

 protected:
  int ImportSource() override;
  // The source is a folder, which the frame cannot open as a file.
  bool ReadsSourceFile() const override { return false; }
};
