#include "importers/mail/mailbox_import.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "core/error_codes.h"
#include "core/source_file.h"

namespace {

// Blocks read from a mailbox that cannot be mapped.
constexpr size_t kStreamBlock = size_t{1} << 20;

// Only the first words of a separator line carry anything (the date); a
// line of megabytes without a line end is cut rather than copied whole for
// every message on it.
constexpr size_t kLongestSeparatorLine = 1024;

// Up to `count` bytes from the start of the file; fewer when it is shorter,
// and none when it is not a regular file (a FIFO is never waited on) or
// cannot be read.
std::string ReadFirstBytes(const std::string& file_name, size_t count) {
  SourceFile file;
  std::string bytes(count, '\0');
  const ssize_t got = file.Open(file_name) ? file.Read(bytes.data(), count) : 0;
  bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return bytes;
}

// The mailbox's name: its file name without folders and extension.
std::string MailboxName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = name.find_last_of('.');
  if (dot != std::string::npos && dot != 0) name.erase(dot);
  return name;
}

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

std::unique_ptr<MailboxBytes> CIMPMailboxImport::OpenBytes(uint64_t* size) {
  // A file that declares Unicode is read as the text it declares, which
  // only the source file's own reading gives.
  if (!Source().DeclaresUnicode()) {
    const int fd = ::open(Source().path().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
      struct stat status {};
      std::unique_ptr<MappedMailbox> mapped;
      if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        mapped = MappedMailbox::Map(fd, static_cast<uint64_t>(status.st_size));
      }
      ::close(fd);
      if (mapped) {
        *size = mapped->end();
        return mapped;
      }
    }
  }
  *size = Source().size();
  return std::make_unique<StreamedMailbox>(
      [this](char* buffer, size_t length) { return Source().Read(buffer, length); }, kStreamBlock);
}

MessageDayRange CIMPMailboxImport::DayRange(const std::string& from, const std::string& to) {
  auto day = [&](const std::string& text) -> std::optional<MessageDayRange::Day> {
    if (text.empty()) return std::nullopt;
    std::optional<MessageDayRange::Day> parsed = MessageDayRange::ParseDay(text);
    if (!parsed) {
      Log(fmt::format("{}: the date \"{}\" of the date range is not a day written MM/DD/YYYY; "
                      "that end of the range is left open.",
                      Source().path(), text));
    }
    return parsed;
  };
  MessageDayRange range;
  range.Narrow(day(from), day(to));
  return range;
}

std::vector<CDocumentWriter::Attachment> CIMPMailboxImport::ReadAttachments(
    const CEudoraMessage& message, MailStore& store) {
  std::vector<CDocumentWriter::Attachment> files;
  for (const std::string& name : message.AttachmentNames()) {
    std::string why;
    std::string content;
    const std::optional<std::string> path = store.Find(name, &why);
    if (path && store.Read(*path, &content, &why)) {
      files.push_back({AttachmentFileName(name), std::move(content)});
      continue;
    }
    if (!why.empty()) Log(why);
    Log(fmt::format("Could not open attachment file \"{}\" for message \"{}\"", name,
                    message.Subject()));
  }
  for (const CEudoraMessage::AttachmentInfo& encoded : message.EncodedAttachments()) {
    files.push_back({encoded.file_name.empty() ? encoded.path : encoded.file_name, encoded.content});
  }
  return files;
}

void CIMPMailboxImport::ImportAttachments(
    const std::vector<CDocumentWriter::Attachment>& attachments) {
  for (const CDocumentWriter::Attachment& attachment : attachments) {
    // A failure is logged by the context; the message's document stays.
    Context().ImportAttachmentIntoDocument(attachment.name, attachment.content);
  }
}

int CIMPMailboxImport::ImportSource() {
  uint64_t file_size = 0;
  const std::unique_ptr<MailboxBytes> bytes = OpenBytes(&file_size);
  const uint64_t start = Options().start_offset;
  MailboxReader mailbox(*bytes, SeparatorMode(), file_size, start);
  SetProgress(std::min(start, file_size));
  const std::string mailbox_name = MailboxName(Source().path());
  const bool eudora = SeparatorMode() == MailboxReader::Mode::kEudora;
  const bool full_header = Options().full_header != 0;
  const bool save_attachments = Options().save_attachments != 0;
  const bool import_attachments = Options().import_attachments != 0;
  MailStore store(Source().path(), Context().attachment_rules());
  const MessageDayRange days = DayRange(Options().date_from, Options().date_to);
  const MessageDayRange message_days =
      DayRange(Options().message_date_from, Options().message_date_to);

  uint64_t messages = 0;
  uint64_t skipped = 0;
  while (!Aborted()) {
    const std::optional<MailboxReader::Message> found = mailbox.Next();
    if (!found) break;
    ++messages;
    const uint64_t position = Source().FileOffsetOf(found->end);
    std::unique_ptr<CEudoraMessage> message = NewMessage();
    message->SetFieldMarker(FieldMarker());
    // Undeclared 8-bit text reads in the ANSI code page the user configured.
    message->SetCodePage(Context().code_pages().ansi);
    message->SetSeparatorDate(eudora);
    message->SetSeparatorLine(
        std::string(found->separator_line.substr(0, kLongestSeparatorLine)));
    message->SetMailBox(mailbox_name);
    message->SetRawText(std::string(found->raw_text));

    // A message whose date cannot be read is taken: nothing is lost to a
    // date line no one can read.
    std::optional<MessageDayRange::Day> day = message->MessageDay();
    if (day && !MessageDayRange::IsCalendarDay(*day)) day.reset();
    if (day && (!days.Contains(*day) || !message_days.Contains(*day))) {
      ++skipped;
      SetProgress(position);
      continue;
    }
    if (day) message->SetDateSent(DateSentText(*day));
    if (full_header) {
      if (message->Body()) {
        message->SetFullHeader(true);
        // The first raw line is the rest of the separator line: its date.
        message->SetDateSentPrefix(eudora);
      } else {
        // Without the empty line that ends it there is no header to rewrite.
        Log("An error occurred while accessing the message header.  A normal import was done");
      }
    }
    std::vector<CDocumentWriter::Attachment> attachments;
    if (save_attachments || import_attachments) attachments = ReadAttachments(*message, store);
    if (save_attachments) {
      if (import_attachments) {
        AttachToNextDocument(attachments);
      } else {
        AttachToNextDocument(std::move(attachments));
      }
    }
    if (!SaveDocument(message->DocumentText(), position)) return Failed() ? 0 : 1;
    if (import_attachments) ImportAttachments(attachments);
  }
  if (mailbox.Failed()) return ReadFailed();

  if (skipped > 0) {
    Log(fmt::format("{}: {} messages outside the date range were skipped.", Source().path(),
                    skipped));
  }
  if (messages == 0 && !WasAborted() && mailbox.Position() > start) {
    // Nothing here looks like a message of this kind of mailbox.
    StoppedShort();
    Log(fmt::format("{}: no message was found in the mailbox.", Source().path()));
    if (start == 0) Context().RecordError(error_code::kWrongFileType);
  }
  return 1;
}

int CIMPEudoraImport::CheckFile(const std::string& file_name) {
  return ReadFirstBytes(file_name, 12) == "From ???@???" ? 1 : 0;
}

int CIMPEmailImport::CheckFile(const std::string& file_name) {
  const std::string first = ReadFirstBytes(file_name, 7);
  if (first.compare(0, 5, "From ") == 0 && first.size() >= 5) return 1;
  return first == "\r\nFrom " ? 1 : 0;
}
