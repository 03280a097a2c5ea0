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

int CIMPMailboxImport::ImportSource() {
  uint64_t file_size = 0;
  const std::unique_ptr<MailboxBytes> bytes = OpenBytes(&file_size);
  const uint64_t start = Options().start_offset;
  MailboxReader mailbox(*bytes, SeparatorMode(), file_size, start);
  SetProgress(std::min(start, file_size));
  const std::string mailbox_name = MailboxName(Source().path());
  BeginMessages(Source().path());

  uint64_t messages = 0;
  while (!Aborted()) {
    const std::optional<MailboxReader::Message> found = mailbox.Next();
    if (!found) break;
    ++messages;
    RawMessage message{std::string(found->raw_text),
                       std::string(found->separator_line.substr(0, kLongestSeparatorLine)),
                       mailbox_name};
    const uint64_t position = Source().FileOffsetOf(found->end);
    if (ImportMessage(std::move(message), position) == Outcome::kStopped) return StopResult();
  }
  if (mailbox.Failed()) return ReadFailed();

  EndMessages();
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
