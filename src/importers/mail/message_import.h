// CIMPMessageImport: the frame every mail source builds on.  A source finds
// its messages its own way (a mailbox file, a Maildir, a server, a folder
// file of a mail program) and hands each over as raw RFC 822 text; from
// there every source takes the same steps: the import's date ranges, the
// document text (header fields, then the field "Message"), the attachments
// saved or imported, the document saved, the skipped messages counted.
// A source that keeps its messages taken apart (Outlook) composes their
// text itself and takes the same steps through TakesMessageOf and
// SaveMessage.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/import_base.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mail_store.h"
#include "importers/mail/message_day_range.h"

class CIMPMessageImport : public CIMPImportBase {
 public:
  int IntegerProperty() const override { return 0; }

 protected:
  // One message as its source found it.
  struct RawMessage {
    std::string raw_text;        // header, empty line, body
    std::string separator_line;  // the mailbox line that began it, if any
    std::string mailbox;         // what the MailBox field shows
  };

  // Only the first words of a separator line carry anything (the date); a
  // line of megabytes without a line end is cut rather than copied whole
  // for every message on it.
  static constexpr size_t kLongestSeparatorLine = 1024;

  enum class Outcome {
    kImported,
    kSkipped,  // outside the date ranges
    kStopped,  // the document was not saved: the import ends (see StopResult)
  };

  // Reads the options the messages share.  Attachments the mail program
  // saved as files are looked up in the folder of `store_anchor` (and the
  // folders the user named); without one, only the attachments encoded in
  // the messages are taken.
  void BeginMessages(const std::optional<std::string>& store_anchor);

  // Takes one message; `position` is where the source stands after it, for
  // the progress and the restart offset.
  Outcome ImportMessage(RawMessage message, uint64_t position);

  // For a source whose messages come taken apart, composed by a composer
  // of its own (Outlook): whether the date ranges take a message of `day`
  // (none: a message without a date, which is always taken).  A message not
  // taken is counted as skipped and the progress moves to `position`.
  bool TakesMessageOf(const std::optional<MessageDayRange::Day>& day, uint64_t position);
  // Whether the options ask for the attachments at all: a source that must
  // work to read them reads them only then.
  bool WantsAttachments() const { return save_attachments_ || import_attachments_; }
  // Saves a message's document, `document_text`, with `attachments` (as
  // the options say: attached to it, imported into its end after it is
  // saved, or neither).
  Outcome SaveMessage(std::string_view document_text,
                      std::vector<CDocumentWriter::Attachment> attachments, uint64_t position);

  // Logs the messages the date ranges skipped.
  void EndMessages();

  // What ImportSource returns once a message was stopped.
  int StopResult() const { return Failed() ? 0 : 1; }

  uint64_t ImportedMessages() const { return imported_; }

  // The composer of the source's messages.
  virtual std::unique_ptr<CEudoraMessage> NewMessage() const {
    return std::make_unique<CStdMessage>();
  }
  // True when a message without a Date line takes its date from the line
  // that separated it in the mailbox.
  virtual bool TakesSeparatorDate() const { return false; }

 private:
  // The days the import takes: both date ranges of the options, their
  // unreadable ends logged and left open.
  MessageDayRange DayRange(const std::string& from, const std::string& to);
  // The attachments of the message: the files it names, each read whole
  // from the mail store (a file refused or unreadable is logged and left
  // out), then those encoded in it.
  std::vector<CDocumentWriter::Attachment> ReadAttachments(const CEudoraMessage& message);
  // After the message's document is saved: each attachment imported into
  // its end.
  void ImportAttachments(const std::vector<CDocumentWriter::Attachment>& attachments);

  std::optional<MailStore> store_;
  MessageDayRange days_;
  MessageDayRange message_days_;
  bool full_header_ = false;
  bool save_attachments_ = false;
  bool import_attachments_ = false;
  uint64_t imported_ = 0;
  uint64_t skipped_ = 0;
};
