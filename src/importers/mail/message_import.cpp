#include "importers/mail/message_import.h"

#include <fmt/format.h>

namespace {

// The name shown for an attachment: the base name and extension of its
// path (Windows paths included), or the path when that is empty.
std::string AttachmentFileName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  return name.empty() ? path : name;
}

// DateSent is written "%m/%d/%Y".
std::string DateSentText(const MessageDayRange::Day& day) {
  return fmt::format("{:02}/{:02}/{}", day.month, day.day, day.year);
}

}  // namespace

void CIMPMessageImport::BeginMessages(const std::optional<std::string>& store_anchor) {
  full_header_ = Options().full_header != 0;
  save_attachments_ = Options().save_attachments != 0;
  import_attachments_ = Options().import_attachments != 0;
  if (store_anchor) store_.emplace(*store_anchor, Context().attachment_rules());
  days_ = DayRange(Options().date_from, Options().date_to);
  message_days_ = DayRange(Options().message_date_from, Options().message_date_to);
  imported_ = 0;
  skipped_ = 0;
}

MessageDayRange CIMPMessageImport::DayRange(const std::string& from, const std::string& to) {
  auto day = [&](const std::string& text) -> std::optional<MessageDayRange::Day> {
    if (text.empty()) return std::nullopt;
    std::optional<MessageDayRange::Day> parsed = MessageDayRange::ParseDay(text);
    if (!parsed) {
      Log(fmt::format("{}: the date \"{}\" of the date range is not a day written MM/DD/YYYY; "
                      "that end of the range is left open.",
                      Options().file_name, text));
    }
    return parsed;
  };
  MessageDayRange range;
  range.Narrow(day(from), day(to));
  return range;
}

std::vector<CDocumentWriter::Attachment> CIMPMessageImport::ReadAttachments(
    const CEudoraMessage& message) {
  std::vector<CDocumentWriter::Attachment> files;
  if (store_) {
    for (const std::string& name : message.AttachmentNames()) {
      std::string why;
      std::string content;
      const std::optional<std::string> path = store_->Find(name, &why);
      if (path && store_->Read(*path, &content, &why)) {
        files.push_back({AttachmentFileName(name), std::move(content)});
        continue;
      }
      if (!why.empty()) Log(why);
      Log(fmt::format("Could not open attachment file \"{}\" for message \"{}\"", name,
                      message.Subject()));
    }
  }
  for (const CEudoraMessage::AttachmentInfo& encoded : message.EncodedAttachments()) {
    files.push_back({encoded.file_name.empty() ? encoded.path : encoded.file_name, encoded.content});
  }
  return files;
}

void CIMPMessageImport::ImportAttachments(
    const std::vector<CDocumentWriter::Attachment>& attachments) {
  for (const CDocumentWriter::Attachment& attachment : attachments) {
    // A failure is logged by the context; the message's document stays.
    Context().ImportAttachmentIntoDocument(attachment.name, attachment.content);
  }
}

CIMPMessageImport::Outcome CIMPMessageImport::ImportMessage(RawMessage raw, uint64_t position) {
  const bool separator_date = TakesSeparatorDate();
  std::unique_ptr<CEudoraMessage> message = NewMessage();
  message->SetFieldMarker(FieldMarker());
  // Undeclared 8-bit text reads in the ANSI code page the user configured.
  message->SetCodePage(Context().code_pages().ansi);
  message->SetSeparatorDate(separator_date);
  if (raw.separator_line.size() > kLongestSeparatorLine) {
    raw.separator_line.resize(kLongestSeparatorLine);
  }
  message->SetSeparatorLine(std::move(raw.separator_line));
  message->SetMailBox(std::move(raw.mailbox));
  message->SetRawText(std::move(raw.raw_text));

  // A message whose date cannot be read is taken: nothing is lost to a
  // date line no one can read.
  std::optional<MessageDayRange::Day> day = message->MessageDay();
  if (day && !MessageDayRange::IsCalendarDay(*day)) day.reset();
  if (!TakesMessageOf(day, position)) return Outcome::kSkipped;
  if (day) message->SetDateSent(DateSentText(*day));
  if (full_header_) {
    if (message->Body()) {
      message->SetFullHeader(true);
      // The first raw line is the rest of the separator line: its date.
      message->SetDateSentPrefix(separator_date);
    } else {
      // Without the empty line that ends it there is no header to rewrite.
      Log("An error occurred while accessing the message header.  A normal import was done");
    }
  }
  std::vector<CDocumentWriter::Attachment> attachments;
  if (WantsAttachments()) attachments = ReadAttachments(*message);
  return SaveMessage(message->DocumentText(), std::move(attachments), position);
}

bool CIMPMessageImport::TakesMessageOf(const std::optional<MessageDayRange::Day>& day,
                                       uint64_t position) {
  if (!day || (days_.Contains(*day) && message_days_.Contains(*day))) return true;
  ++skipped_;
  SetProgress(position);
  return false;
}

CIMPMessageImport::Outcome CIMPMessageImport::SaveMessage(
    std::string_view document_text, std::vector<CDocumentWriter::Attachment> attachments,
    uint64_t position) {
  if (save_attachments_) {
    if (import_attachments_) {
      AttachToNextDocument(attachments);
    } else {
      AttachToNextDocument(std::move(attachments));
    }
  }
  if (!SaveDocument(document_text, position)) return Outcome::kStopped;
  ++imported_;
  if (import_attachments_) ImportAttachments(attachments);
  return Outcome::kImported;
}

void CIMPMessageImport::EndMessages() {
  if (skipped_ > 0) {
    Log(fmt::format("{}: {} messages outside the date range were skipped.", Options().file_name,
                    skipped_));
  }
}
