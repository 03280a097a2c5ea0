// The mailbox importers: each message of an MBX mailbox file becomes one
// document, its header fields as inline fields and its text as the field
// "Message".  When attachments are to be saved, the files the mail program
// saved and named in the message and the attachments encoded in it are
// attached to its document; when they are to be imported, each is imported
// into the end of the message's document once it is saved.
//
//  - CIMPEudoraImport (file type 1005, Eudora Light and Pro): messages begin
//    at "From ???@???"; a message without a Date line takes its date from
//    that separator line.
//  - CIMPEmailImport (file type 1060, PocoMail, Netscape and other standard
//    mailboxes): messages begin at a line starting "From ".
//
// The mailbox is mapped, not read into memory, and walked once (MailboxReader),
// from the start offset of the import on: a mailbox of several GB costs the
// memory of one message.  The MailBox field names the mailbox: its file
// name without the extension.  Each message then takes the steps of every
// mail source (CIMPMessageImport).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "importers/mail/eudora_message.h"
#include "importers/mail/mailbox_bytes.h"
#include "importers/mail/mailbox_reader.h"
#include "importers/mail/message_import.h"

class CIMPMailboxImport : public CIMPMessageImport {
 protected:
  int ImportSource() override;

  virtual MailboxReader::Mode SeparatorMode() const = 0;

 private:
  // The mailbox's bytes: the file mapped, or read block by block when it
  // cannot be (*size is then what the file says it holds, maybe 0).
  std::unique_ptr<MailboxBytes> OpenBytes(uint64_t* size);
};

class CIMPEudoraImport : public CIMPMailboxImport {
 public:
  // 1 when the file starts with "From ???@???".
  int CheckFile(const std::string& file_name) override;

 protected:
  MailboxReader::Mode SeparatorMode() const override { return MailboxReader::Mode::kEudora; }
  std::unique_ptr<CEudoraMessage> NewMessage() const override {
    return std::make_unique<CEudoraMessage>();
  }
  bool TakesSeparatorDate() const override { return true; }
};

class CIMPEmailImport : public CIMPMailboxImport {
 public:
  // 1 when the file starts with "From " (or with a line end and "From ").
  int CheckFile(const std::string& file_name) override;

 protected:
  MailboxReader::Mode SeparatorMode() const override { return MailboxReader::Mode::kStandard; }
};
