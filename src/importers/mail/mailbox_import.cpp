#include "importers/mail/mailbox_import.h"

#include <fmt/format.h>

#include <cstring>

#include "core/error_codes.h"
#include "core/source_file.h"

namespace {

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

}  // namespace

bool CIMPMailboxImport::ReadWhole(std::string* text) {
  text->clear();
  text->reserve(static_cast<size_t>(Source().size()));
  char block[64 * 1024];
  while (true) {
    const ssize_t count = Source().Read(block, sizeof block);
    if (count < 0) return false;
    if (count == 0) return true;
    text->append(block, static_cast<size_t>(count));
  }
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
  return files;
}

int CIMPMailboxImport::ImportSource() {
  std::string text;
  if (!ReadWhole(&text)) return ReadFailed();
  const uint64_t file_size = text.size();
  MailboxReader mailbox(std::move(text), SeparatorMode());
  const std::string mailbox_name = MailboxName(Source().path());
  const bool eudora = SeparatorMode() == MailboxReader::Mode::kEudora;
  MailStore store(Source().path(), Context().attachment_rules());

  uint64_t messages = 0;
  while (!Aborted()) {
    const std::optional<MailboxReader::Message> found = mailbox.Next();
    if (!found) {
      if (messages == 0 && file_size != 0) {
        // Nothing here looks like a message of this kind of mailbox.
        StoppedShort();
        Log(fmt::format("{}: no message was found in the mailbox.", Source().path()));
      }
      break;
    }
    ++messages;
    std::unique_ptr<CEudoraMessage> message = NewMessage();
    message->SetFieldMarker(FieldMarker());
    message->SetSeparatorDate(eudora);
    message->SetSeparatorLine(std::string(found->separator_line));
    message->SetMailBox(mailbox_name);
    message->SetRawText(std::string(found->raw_text));
    if (Options().full_header != 0) {
      if (message->Body()) {
        message->SetFullHeader(true);
      } else {
        // Without the empty line that ends it there is no header to rewrite.
        Log("An error occurred while accessing the message header.  A normal import was done");
      }
    }
    if (Options().save_attachments != 0) {
      AttachToNextDocument(ReadAttachments(*message, store));
    }
    const auto position =
        static_cast<uint64_t>(mailbox.Progress() * static_cast<double>(file_size));
    if (!SaveDocument(message->DocumentText(), position)) return Failed() ? 0 : 1;
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
