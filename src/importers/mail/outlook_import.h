// CIMPOutlookImport (file type 1008, Outlook folders): the messages of an
// Outlook personal folders file (.pst) or offline folders file (.ost), read
// through libpff, each one a document written by the Outlook composer
// (COutlookMessage).
//
// The queued name is the file; the queue record's mailbox (argument 28 of
// KSIMP_AddFileToImport) names the one folder to import, "Inbox/Projects"
// (pst_folders.h says how folders are named), and when it is empty every
// folder of the file is imported, parents before their children.  A folder
// named that the file does not hold is an error, and the log lists the
// folders it does hold.
//
// Only messages become documents: e-mail, meeting requests and replies,
// posts, reports and the like.  Contacts, appointments, tasks, notes and
// journal entries have no sender, recipients or message text to fill the
// layout with; they are passed over and their number is written to the log.
//
// The import's date ranges select by the day the message was sent (else
// delivered, else made).  Attachments are read only when the options save
// or import them; each one taken writes "Opened attachment file ..." to the
// log, and a message attached whole (a forwarded message) becomes a file of
// its own document text.  The full-header option has no effect: Outlook's
// layout has no header to rewrite.
//
// Progress counts items: the queued size of an Outlook folder is the
// number of items the import runs through (CountOutlookItems), and the
// current bytes move on by one for each.
//
// A damaged file gives a numbered error and a log line saying what could
// not be read: 11020 for a file that is no Outlook file, 11019 for one cut
// short, 11024 for one damaged otherwise.  Every message that could be read
// before or after the damage is imported all the same.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "importers/mail/message_import.h"

class CIMPOutlookImport : public CIMPMessageImport {
 public:
  // 1 when the file starts with the header of a personal folders file.
  int CheckFile(const std::string& file_name) override;

 protected:
  int ImportSource() override;
  // libpff opens and reads the file itself.
  bool ReadsSourceFile() const override { return false; }
};

// The number of items an import of `folder` (every folder when empty) of
// the Outlook file `path` runs through; none when the file or the folder
// cannot be read.
std::optional<uint64_t> CountOutlookItems(const std::string& path, const std::string& folder);
