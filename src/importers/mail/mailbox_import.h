// The mailbox importers: each message of an MBX mailbox file becomes one
// document, its header fields as inline fields and its text as the field
// "Message".  When attachments are to be saved, the files the mail program
// saved and named in the message are attached to its document.
//
//  - CIMPEudoraImport (file type 1005, Eudora Light and Pro): messages begin
//    at "From ???@???"; a message without a Date line takes its date from
//    that separator line.
//  - CIMPEmailImport (file type 1060, PocoMail, Netscape and other standard
//    mailboxes): messages begin at a line starting "From ".
//
// The mailbox is read into memory whole.  The MailBox field names the
// mailbox: its file name without the extension.
#pragma once

#include <memory>
#include <string>

#include "core/import_base.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mail_store.h"
#include "importers/mail/mailbox_reader.h"

class CIMPMailboxImport : public CIMPImportBase {
 public:
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override;

  virtual MailboxReader::Mode SeparatorMode() const = 0;
  virtual std::unique_ptr<CEudoraMessage> NewMessage() const = 0;

 private:
  // The attachment files named in the message, each read whole from the
  // mail store; a file that is refused or cannot be read is logged and left
  // out.
  std::vector<CDocumentWriter::Attachment> ReadAttachments(const CEudoraMessage& message,
                                                           MailStore& store);
  bool ReadWhole(std::string* text);
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
};

class CIMPEmailImport : public CIMPMailboxImport {
 public:
  // 1 when the file starts with "From " (or with a line end and "From ").
  int CheckFile(const std::string& file_name) override;

 protected:
  MailboxReader::Mode SeparatorMode() const override { return MailboxReader::Mode::kStandard; }
  std::unique_ptr<CEudoraMessage> NewMessage() const override {
    return std::make_unique<CStdMessage>();
  }
};
