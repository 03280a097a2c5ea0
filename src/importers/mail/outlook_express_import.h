// COutlookExpress (file type 1059): the messages of Outlook Express 5 and 6.
//
// The source is one folder file of messages (Inbox.dbx, ...), or a store
// folder, the folder where Outlook Express keeps a user's folder files: then
// every folder file of messages in it, in the order of their names.  The
// store's list of folders (Folders.dbx) and its other databases hold no
// messages and are passed over.  Each message becomes one document through
// the steps every mail source takes (CIMPMessageImport); its MailBox field
// names its folder: the folder file's name without the extension.
//
// A file that is not a folder of messages (the list of folders included),
// or a store folder without one, is refused with 11020.  A damaged folder
// gives every message that can be read; each one that cannot is logged with
// what is wrong and where, and the file ends in error: 11019 when the file
// is cut short, 11024 when it is damaged otherwise.  Progress moves through
// the folder file's bytes as its messages are read.
#pragma once

#include <cstdint>
#include <string>

#include "importers/mail/dbx_bytes.h"
#include "importers/mail/dbx_file_header.h"
#include "importers/mail/message_import.h"

class COutlookExpress : public CIMPMessageImport {
 public:
  // 1 for a folder file of messages, or a folder holding one.
  int CheckFile(const std::string& file_name) override;
  // Notes whether the source is a store folder, which the frame does not open.
  int Prepare(ImportContext& context) override;

 protected:
  int ImportSource() override;
  bool ReadsSourceFile() const override { return !store_folder_; }

 private:
  enum class FolderResult {
    kRead,             // its messages were imported, or logged when unreadable
    kNoMessageFolder,  // the file holds no messages (*kind says what it is)
    kNotOpened,        // the file could not be opened or mapped (logged)
    kStopped,          // a message's document was not saved: the import ends
  };

  // Imports the folder file at `path`; its progress counts on from `base`
  // bytes into the source.  *size is the file's size, *kind its kind.
  FolderResult ImportFolder(const std::string& path, uint64_t base, uint64_t* size,
                            DbxFileKind* kind);
  int ImportStoreFolder(const std::string& folder);
  // Logs a message or part of the index lost to damage and notes the error
  // the file ends with.
  void Damaged(const std::string& path, const DbxProblem& problem, const std::string& lost);

  bool store_folder_ = false;
  uint32_t damage_code_ = 0;  // the error of the first damage met
};
