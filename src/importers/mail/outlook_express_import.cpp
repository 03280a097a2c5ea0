#include "importers/mail/outlook_express_import.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "core/error_codes.h"
#include "importers/mail/dbx_folder_reader.h"
#include "importers/mail/dbx_store_folder.h"
#include "importers/mail/mailbox_bytes.h"

namespace fs = std::filesystem;

namespace {

// The MailBox field's value: the file name without folders and extension.
std::string FolderName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = name.find_last_of('.');
  if (dot != std::string::npos && dot != 0) name.erase(dot);
  return name;
}

std::string WhyNoMessages(const std::string& path, DbxFileKind kind) {
  switch (kind) {
    case DbxFileKind::kFolderList:
      return fmt::format(
          "{} is the list of folders of an Outlook Express store and holds no messages: import "
          "the store's folder, or one of its folder files of messages.",
          path);
    case DbxFileKind::kOtherDatabase:
      return fmt::format("{} is an Outlook Express file that holds no messages.", path);
    default:
      return fmt::format("{} is not an Outlook Express folder file (.dbx).", path);
  }
}

}  // namespace

int COutlookExpress::CheckFile(const std::string& file_name) {
  std::error_code error;
  if (!fs::is_directory(file_name, error)) {
    return DbxKindOfFile(file_name) == DbxFileKind::kMessageFolder ? 1 : 0;
  }
  for (const std::string& file : DbxFilesIn(file_name)) {
    if (DbxKindOfFile(file) == DbxFileKind::kMessageFolder) return 1;
  }
  return 0;
}

int COutlookExpress::Prepare(ImportContext& context) {
  std::error_code error;
  store_folder_ = fs::is_directory(context.options().file_name, error);
  return CIMPMessageImport::Prepare(context);
}

int COutlookExpress::ImportSource() {
  const std::string& source = Options().file_name;
  // Outlook Express keeps attachments inside the messages, never as files.
  BeginMessages(std::nullopt);
  damage_code_ = 0;
  if (store_folder_) return ImportStoreFolder(source);

  uint64_t size = 0;
  DbxFileKind kind = DbxFileKind::kNotDbx;
  switch (ImportFolder(source, 0, &size, &kind)) {
    case FolderResult::kStopped:
      return StopResult();
    case FolderResult::kNoMessageFolder:
      Log(WhyNoMessages(source, kind));
      Fail(error_code::kWrongFileType);
      return 0;
    case FolderResult::kNotOpened:
      Fail(error_code::kCannotOpenFile);
      return 0;
    case FolderResult::kRead:
      break;
  }
  EndMessages();
  if (damage_code_ != 0) {
    Fail(damage_code_);
    return 0;
  }
  return 1;
}

int COutlookExpress::ImportStoreFolder(const std::string& folder) {
  uint64_t base = 0;
  int message_folders = 0;
  bool not_opened = false;
  for (const std::string& file : DbxFilesIn(folder)) {
    if (Aborted()) break;
    uint64_t size = 0;
    DbxFileKind kind = DbxFileKind::kNotDbx;
    switch (ImportFolder(file, base, &size, &kind)) {
      case FolderResult::kStopped:
        return StopResult();
      case FolderResult::kNoMessageFolder:
        // Every store has its list of folders and other databases beside
        // the folders of messages: only a stranger is worth a line.
        if (kind == DbxFileKind::kNotDbx) Log(WhyNoMessages(file, kind) + " It is passed over.");
        break;
      case FolderResult::kNotOpened:
        not_opened = true;
        break;
      case FolderResult::kRead:
        ++message_folders;
        break;
    }
    base += size;
  }
  if (!WasAborted()) SetProgress(base);
  EndMessages();
  if (message_folders == 0 && !not_opened && !WasAborted()) {
    Log(fmt::format("{}: no Outlook Express folder file of messages (.dbx) is in this folder.",
                    folder));
    Fail(error_code::kWrongFileType);
    return 0;
  }
  const uint32_t code = damage_code_ != 0 ? damage_code_
                        : not_opened      ? error_code::kCannotOpenFile
                                          : 0;
  if (code != 0) {
    Fail(code);
    return 0;
  }
  return 1;
}

COutlookExpress::FolderResult COutlookExpress::ImportFolder(const std::string& path, uint64_t base,
                                                            uint64_t* size, DbxFileKind* kind) {
  int error = 0;
  const std::unique_ptr<MappedMailbox> mapped = MappedMailbox::MapFile(path, &error);
  if (error != 0) {
    Log(fmt::format("{}: the folder file cannot be read: {}.", path, std::strerror(error)));
    return FolderResult::kNotOpened;
  }
  const std::string_view bytes = mapped ? mapped->view() : std::string_view();
  *size = bytes.size();
  DbxFolderReader reader(bytes);
  const DbxFileHeader& header = reader.header();
  *kind = header.kind;
  if (header.kind != DbxFileKind::kMessageFolder) return FolderResult::kNoMessageFolder;

  const std::string mailbox = FolderName(path);
  // A profile that imports new messages names the first one it has not
  // taken; a store folder is read whole.
  if (!store_folder_ && Options().start_offset > 0) {
    reader.TakeFrom(Options().start_offset);
  }
  uint64_t without_text = 0;
  DbxFolderReader::Message message;
  while (!Aborted() && reader.Next(&message)) {
    // The messages do not lie in the file in the index's order: the
    // progress moves through the file's bytes by the share of the messages
    // read.
    const uint64_t listed = std::min<uint64_t>(reader.messages_listed(), header.message_count);
    const uint64_t position =
        base + (header.message_count == 0
                    ? 0
                    : static_cast<uint64_t>(static_cast<double>(*size) *
                                            static_cast<double>(listed) / header.message_count));
    switch (message.state) {
      case DbxFolderReader::Message::State::kRead: {
        RawMessage raw{std::move(message.raw_text), std::string(), mailbox};
        if (ImportMessage(std::move(raw), position) == Outcome::kStopped) {
          return FolderResult::kStopped;
        }
        break;
      }
      case DbxFolderReader::Message::State::kNoText:
        ++without_text;
        SetProgress(position);
        break;
      case DbxFolderReader::Message::State::kUnreadable:
        Damaged(path, message.problem,
                message.subject.empty()
                    ? std::string("the message is not imported")
                    : fmt::format("the message \"{}\" is not imported", message.subject));
        SetProgress(position);
        break;
    }
  }
  if (WasAborted()) return FolderResult::kRead;
  if (const std::optional<DbxProblem>& problem = reader.index_problem()) {
    Damaged(path, *problem, "the messages the index lists from there on are not imported");
  } else if (reader.messages_listed() != header.message_count) {
    Log(fmt::format("{}: the folder counts {} messages, its index lists {}.", path,
                    header.message_count, reader.messages_listed()));
  }
  if (without_text > 0) {
    Log(
        fmt::format("{}: {} messages of the folder have no text in it (only their headers "
                    "were downloaded) and are not imported.",
                    path, without_text));
  }
  return FolderResult::kRead;
}

void COutlookExpress::Damaged(const std::string& path, const DbxProblem& problem,
                              const std::string& lost) {
  Log(fmt::format("{}: {}; {}.", path, problem.what, lost));
  if (damage_code_ == 0) {
    damage_code_ = problem.kind == DbxProblem::Kind::kCutShort ? error_code::kEndOfFile
                                                               : error_code::kCannotOpenFile;
  }
}
