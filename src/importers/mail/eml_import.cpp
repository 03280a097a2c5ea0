#include "importers/mail/eml_import.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/error_codes.h"
#include "core/source_file.h"
#include "importers/mail/message_file.h"

namespace {

// The name of the folder that holds `path`.
std::string FolderName(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path folder =
      std::filesystem::absolute(path, ignored).lexically_normal().parent_path();
  const std::string name = folder.filename().string();
  return name.empty() ? folder.string() : name;
}

int64_t ModificationTime(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? static_cast<int64_t>(info.st_mtime) : 0;
}

}  // namespace

int CIMPEmlImport::CheckFile(const std::string& file_name) {
  SourceFile file;
  if (!file.Open(file_name)) return 0;
  std::string head(64 * 1024, '\0');
  const ssize_t got = file.Read(head.data(), head.size());
  head.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return message_file::Examine(head) == message_file::Verdict::kMessage ? 1 : 0;
}

int CIMPEmlImport::ImportSource() {
  const std::string& path = Source().path();
  if (Source().size() > message_file::kLargestMessage) {
    Log(
        fmt::format("{}: it holds {} bytes, more than the {} a message may hold; it is not "
                    "imported.",
                    path, Source().size(), message_file::kLargestMessage));
    Fail(error_code::kCannotOpenFile);
    return 0;
  }
  std::string bytes;
  char block[64 * 1024];
  while (true) {
    const ssize_t got = Source().Read(block, sizeof block);
    if (got < 0) return ReadFailed();
    if (got == 0) break;
    bytes.append(block, static_cast<size_t>(got));
    if (bytes.size() > message_file::kLargestMessage) {
      Log(
          fmt::format("{}: it grew past the {} bytes a message may hold while it was read; it "
                      "is not imported.",
                      path, message_file::kLargestMessage));
      Fail(error_code::kCannotOpenFile);
      return 0;
    }
  }
  const message_file::Verdict verdict = message_file::Examine(bytes);
  if (verdict != message_file::Verdict::kMessage) {
    Log(fmt::format("{}: {}; it is not imported.", path,
                    verdict == message_file::Verdict::kEmpty
                        ? "the file is empty"
                        : "it does not read as a mail message"));
    Fail(error_code::kWrongFileType);
    return 0;
  }
  BeginMessages(path);
  message_file::Message message = message_file::AsMailboxMessage(bytes, ModificationTime(path));
  RawMessage raw{std::move(message.raw_text), std::move(message.separator_line), FolderName(path)};
  if (ImportMessage(std::move(raw), Source().size()) == Outcome::kStopped) return StopResult();
  EndMessages();
  return 1;
}
