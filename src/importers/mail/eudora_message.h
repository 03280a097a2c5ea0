// CEudoraMessage: one RFC 822 message held as raw text, its header fields,
// and the document text every mailbox importer stores for it: a block of
// inline header fields (the standard block, or the raw header rewritten into
// fields when the full header is asked for), then the field "Message".
//
// The raw text is kept as it came, in the message's own 8-bit encoding with
// CR LF line ends.  What the document shows is decoded to UTF-8: header
// values (encoded words; undeclared 8-bit text by the library's rule for
// it), and the message text, which is the MIME text part a reader sees
// (MimeMessage), its transfer encoding undone.  Nothing is escaped.  Field
// openers use the database's field marker ("[" unless told otherwise);
// closers are always " ]".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/charset_converter.h"
#include "importers/mail/attachment_info.h"

class CEudoraMessage {
 public:
  using AttachmentInfo = ks::mail::AttachmentInfo;

  virtual ~CEudoraMessage() = default;

  // A calendar day taken from the Date line; the time of day is not read.
  struct MessageDate {
    int year = 0;
    int month = 0;  // 1..12
    int day = 0;
    bool operator==(const MessageDate&) const = default;
  };

  void SetFieldMarker(char marker) { marker_ = marker; }
  char FieldMarker() const { return marker_; }

  // Takes the whole message, extracts and decodes its header fields and
  // decodes its message text.  When no Date line is found and the separator
  // date was asked for, the date comes from the mailbox separator line given
  // before.
  void SetRawText(std::string raw);
  // The line that began the message in its mailbox ("From ???@??? Tue Jun
  // 01 12:00:00 2004"), without its line end.
  void SetSeparatorLine(std::string line) { separator_line_ = std::move(line); }
  void SetSeparatorDate(bool on) { separator_date_ = on; }
  void SetFullHeader(bool on) { full_header_ = on; }
  void SetDateSentPrefix(bool on) { date_sent_prefix_ = on; }
  void SetMailBox(std::string mailbox) { mailbox_ = std::move(mailbox); }
  void SetDateSent(std::string date_sent) { date_sent_ = std::move(date_sent); }
  // The code page of 8-bit text that declares no character set; set before
  // the raw text.
  void SetCodePage(std::string code_page) { code_page_ = std::move(code_page); }

  const std::string& RawText() const { return raw_; }
  // Everything before the first empty line (all of it when there is none).
  std::string_view Header() const;
  // The text after the first empty line; none when the message has none.
  std::optional<std::string_view> Body() const;

  const std::string& From() const { return from_; }
  const std::string& To() const { return to_; }
  const std::string& Cc() const { return cc_; }
  const std::string& Bcc() const { return bcc_; }
  const std::string& Date() const { return date_; }
  const std::string& Subject() const { return subject_; }
  const std::string& MessageId() const { return message_id_; }
  const std::string& InReplyTo() const { return in_reply_to_; }
  const std::string& MailBox() const { return mailbox_; }
  const std::string& DateSent() const { return date_sent_; }

  // The message text a reader sees, in UTF-8 with CR LF line ends: the
  // chosen text part, or the whole body of a message that is no MIME.
  // Empty when the message has no body or no text part.
  const std::string& MessageText() const { return text_; }

  // The attachments carried in the message's MIME parts, decoded; worked
  // out on the first call.
  const std::vector<AttachmentInfo>& EncodedAttachments() const;

  // The day of the Date line, for date-range selection; none when it has no
  // recognisable day, month and year.
  std::optional<MessageDate> MessageDay() const { return ParseMessageDate(date_); }
  static std::optional<MessageDate> ParseMessageDate(std::string_view date);

  // The header fields, one "Name[ value ]" line each, in the fixed order.
  std::string StandardHeaderBlock() const;
  // The raw header rewritten into fields, then the MailBox line.  Only
  // undeclared 8-bit text is converted; encoded words stay as written.
  std::string FullHeaderBlock() const;
  // "Message[ " with its separator, `text` and " ]".  The separator is
  // "<BR><BR>" for a text holding HTML, else an empty line.
  std::string MessageField(std::string_view text) const;
  // The whole document: the header block the options ask for, then the
  // Message field of the message text (none when the message has no body).
  std::string DocumentText() const;

  // The attachment files the mail program saved and named in the message:
  // the names of an "X-Attachments: " header line (separated by ","), then
  // the name in quotes after every "Attachment Converted: ".  Each name is
  // cut to 1024 bytes.
  virtual std::vector<std::string> AttachmentNames() const;

  // Plain text shown as HTML: "<html>", then the text with "<" and ">"
  // escaped, tabs made blanks and CR LF made "<br>".
  static std::string PlainTextAsHtml(std::string_view text);

 private:
  void ExtractHeaderFields();
  void DecodeHeaderFields();
  void DateFromSeparatorLine();
  ks::core::CharsetConverter& Converter() const;

  std::string raw_;
  size_t header_end_ = std::string::npos;  // where the first empty line starts
  std::string code_page_{ks::core::CharsetConverter::kDefaultCodePage};
  std::string text_;  // the decoded message text
  mutable std::optional<std::vector<AttachmentInfo>> encoded_attachments_;
  char marker_ = '[';
  std::string separator_line_;
  bool separator_date_ = false;
  bool full_header_ = false;
  bool date_sent_prefix_ = false;

  std::string from_, to_, cc_, bcc_, date_, subject_, message_id_, in_reply_to_;
  std::string mailbox_, date_sent_;

 protected:
  // The value of a header line (found as in the field extraction), its
  // names separated by ",", appended to *names.
  void AppendHeaderNames(std::string_view tag, std::vector<std::string>* names) const;
};

// CStdMessage: a message of a standard mailbox (PocoMail, Netscape).  Only
// the attachment names are looked for elsewhere: in "X-Attachments: " and
// "X-Poco-Attachment: " header lines.
class CStdMessage : public CEudoraMessage {
 public:
  std::vector<std::string> AttachmentNames() const override;
};
