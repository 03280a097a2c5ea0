// The single-message importer (file type 1201): an ".eml" file, one mail
// message as a mail program saves it, becomes one document, as a mailbox's
// message does.  Several such files queued as one item are imported one
// after another, like the files of any item.  The MailBox field shows the
// name of the folder the file lies in: a folder of saved messages reads as
// a mailbox.
//
// A file that is empty or does not read as a message is refused with 11020
// and a log line; one larger than a message may be (256 MiB) with 11024.
#pragma once

#include <string>

#include "importers/mail/message_import.h"

class CIMPEmlImport : public CIMPMessageImport {
 public:
  // 1 when the file begins as a mail message.
  int CheckFile(const std::string& file_name) override;

 protected:
  int ImportSource() override;
};
