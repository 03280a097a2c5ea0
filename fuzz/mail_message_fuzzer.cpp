// Fuzzes CEudoraMessage and CStdMessage: taking a message's raw text apart
// into header fields, and composing the document text the mailbox imports
// store (header block, full header, Message field), the message date, the
// attachment names and plain text shown as HTML.
//
// Input: a byte of options (message kind, full header, separator date,
// DateSent prefix, field marker), the separator line, the mailbox name and
// the date sent (each with its length from a byte), then the raw text.
//
// Checks: header and body put back together give the raw text; no field
// value holds a line end, every one is valid UTF-8, and the standard block
// has one line per field that has a value; a date read has a real month and
// at most four-digit year; an attachment name is never empty, never starts
// with a blank and is at most 1024 bytes; the HTML holds no tab and no "<" or
// ">" but those of the "<br>" made from each CR LF; the message text is valid
// UTF-8 with CR LF line ends, empty without a body, and the document ends
// with its Message field; an encoded attachment has a file name and no more
// bytes than the message; taking a second raw text leaves nothing of the
// first.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/mail/eudora_message.h"

namespace {

size_t Count(std::string_view text, std::string_view what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string_view::npos;
       at = text.find(what, at + what.size())) {
    ++count;
  }
  return count;
}

// Text cut at its first line end: what a setter of a one-line value gets.
std::string OneLine(std::string_view text) {
  return std::string(text.substr(0, text.find_first_of("\r\n")));
}

struct Options {
  bool standard = false;  // a CStdMessage, else a CEudoraMessage
  bool full_header = false;
  bool separator_date = false;
  bool date_sent_prefix = false;
  char marker = '[';
  std::string separator_line;
  std::string mailbox;
  std::string date_sent;
};

std::unique_ptr<CEudoraMessage> NewMessage(const Options& options) {
  std::unique_ptr<CEudoraMessage> message;
  if (options.standard) {
    message = std::make_unique<CStdMessage>();
  } else {
    message = std::make_unique<CEudoraMessage>();
  }
  message->SetFieldMarker(options.marker);
  message->SetSeparatorLine(options.separator_line);
  message->SetSeparatorDate(options.separator_date);
  message->SetFullHeader(options.full_header);
  message->SetDateSentPrefix(options.date_sent_prefix);
  message->SetMailBox(options.mailbox);
  message->SetDateSent(options.date_sent);
  return message;
}

void CheckFields(const CEudoraMessage& message) {
  const std::string* const values[] = {
      &message.To(),        &message.Cc(),       &message.Bcc(),     &message.From(),
      &message.Date(),      &message.DateSent(), &message.Subject(), &message.MessageId(),
      &message.InReplyTo(), &message.MailBox()};
  size_t filled = 0;
  for (const std::string* value : values) {
    FUZZ_CHECK(value->find_first_of("\r\n") == std::string::npos);
    if (value != &message.MailBox() && value != &message.DateSent()) {
      FUZZ_CHECK(ks::core::IsValidUtf8(*value));
    }
    if (!value->empty()) ++filled;
  }
  const std::string block = message.StandardHeaderBlock();
  FUZZ_CHECK(Count(block, "\r\n") == filled);
  FUZZ_CHECK(block.empty() || block.ends_with(" ]\r\n"));
}

void CheckDate(std::string_view date) {
  const std::optional<CEudoraMessage::MessageDate> day = CEudoraMessage::ParseMessageDate(date);
  if (!day) return;
  FUZZ_CHECK(day->month >= 1 && day->month <= 12);
  FUZZ_CHECK(day->day >= 0 && day->day <= 99);
  FUZZ_CHECK(day->year >= 0 && day->year <= 9999);
}

void CheckHtml(std::string_view text) {
  const std::string html = CEudoraMessage::PlainTextAsHtml(text);
  FUZZ_CHECK(html.starts_with("<html>"));
  const std::string_view shown = std::string_view(html).substr(6);
  FUZZ_CHECK(shown.find('\t') == std::string_view::npos);
  const size_t breaks = Count(text, "\r\n");
  FUZZ_CHECK(Count(shown, "<br>") == breaks);
  FUZZ_CHECK(static_cast<size_t>(std::count(shown.begin(), shown.end(), '<')) == breaks);
  FUZZ_CHECK(static_cast<size_t>(std::count(shown.begin(), shown.end(), '>')) == breaks);
}

void CheckMessage(const CEudoraMessage& message) {
  const std::string& raw = message.RawText();
  const std::optional<std::string_view> body = message.Body();
  if (body) {
    FUZZ_CHECK(std::string(message.Header()) + "\r\n\r\n" + std::string(*body) == raw);
  } else {
    FUZZ_CHECK(message.Header() == raw);
  }
  CheckFields(message);
  CheckDate(message.Date());
  if (const auto day = message.MessageDay()) FUZZ_CHECK(day->month >= 1 && day->month <= 12);

  for (const std::string& name : message.AttachmentNames()) {
    FUZZ_CHECK(!name.empty() && name.size() <= 1024);
    FUZZ_CHECK(name.front() != ' ' && name.front() != '\t');
  }
  CheckHtml(body.value_or(raw));

  const std::string& text = message.MessageText();
  FUZZ_CHECK(ks::core::IsValidUtf8(text));
  if (!body) FUZZ_CHECK(text.empty());
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    FUZZ_CHECK(at > 0 && text[at - 1] == '\r');
  }
  for (size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at + 1)) {
    FUZZ_CHECK(at + 1 < text.size() && text[at + 1] == '\n');
  }
  for (const CEudoraMessage::AttachmentInfo& attachment : message.EncodedAttachments()) {
    FUZZ_CHECK(!attachment.file_name.empty());
    FUZZ_CHECK(attachment.length == attachment.content.size());
    FUZZ_CHECK(attachment.content.size() <= raw.size());
  }

  const std::string document = message.DocumentText();
  if (body) FUZZ_CHECK(document.ends_with(message.MessageField(text)));
  if (!body) {
    FUZZ_CHECK(document == message.StandardHeaderBlock() || document == message.FullHeaderBlock());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t switches = in.Byte();
  Options options;
  options.standard = (switches & 1) != 0;
  options.full_header = (switches & 2) != 0;
  options.separator_date = (switches & 4) != 0;
  options.date_sent_prefix = (switches & 8) != 0;
  options.marker = (switches & 16) != 0 ? static_cast<char>(in.Byte()) : '[';
  const bool second_text = (switches & 32) != 0;
  options.separator_line = OneLine(in.ShortText(64));
  options.mailbox = OneLine(in.ShortText(16));
  options.date_sent = OneLine(in.ShortText(16));
  const std::string_view first = second_text ? in.ShortText(255) : std::string_view{};
  const std::string raw(in.Rest());

  const std::unique_ptr<CEudoraMessage> message = NewMessage(options);
  if (second_text) message->SetRawText(std::string(first));
  message->SetRawText(raw);
  CheckMessage(*message);

  if (second_text) {
    const std::unique_ptr<CEudoraMessage> fresh = NewMessage(options);
    fresh->SetRawText(raw);
    FUZZ_CHECK(message->DocumentText() == fresh->DocumentText());
    FUZZ_CHECK(message->AttachmentNames() == fresh->AttachmentNames());
    FUZZ_CHECK(message->EncodedAttachments().size() == fresh->EncodedAttachments().size());
  }
  return 0;
}
