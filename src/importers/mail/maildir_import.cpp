#include "importers/mail/maildir_import.h"

#include <fmt/format.h>

#include <optional>

#include "core/error_codes.h"
#include "importers/mail/maildir_tree.h"
#include "importers/mail/message_file.h"

int CIMPMaildirImport::CheckFile(const std::string& file_name) {
  return MaildirTree::IsMaildir(file_name) ? 1 : 0;
}

int CIMPMaildirImport::ImportSource() {
  const std::string& path = Options().file_name;
  std::string why;
  const std::optional<MaildirTree> tree = MaildirTree::Open(path, &why);
  if (!tree) {
    Log(why);
    SetLastErrorText(why);
    Fail(MaildirTree::IsMaildir(path) ? error_code::kCannotOpenFile : error_code::kWrongFileType);
    return 0;
  }
  // Messages of a Maildir carry their attachments encoded; no file beside
  // them is ever read for one.
  BeginMessages(std::nullopt);
  // Only messages delivered in or after this second, for a profile that
  // imports what is new.
  const uint64_t first_second = Options().start_offset;

  uint64_t position = 0;  // bytes of the message files passed
  uint64_t messages = 0;
  uint64_t skipped = 0;
  for (const std::string& relative : tree->folders()) {
    if (Aborted()) break;
    std::optional<MaildirFolder> folder = tree->OpenFolder(relative, &why);
    if (!folder) {
      Log(why);
      StoppedShort();
      continue;
    }
    for (const std::string& line : folder->skipped()) Log(line);
    skipped += folder->skipped().size();
    const std::string mailbox = MaildirMailboxName(path, relative);
    std::string bytes;
    for (const MaildirMessage& file : folder->messages()) {
      if (Aborted()) break;
      position += file.size;
      if (file.delivered < first_second) {
        SetProgress(position);
        continue;
      }
      MaildirFolder::ReadResult read =
          folder->Read(file, message_file::kLargestMessage, &bytes, &why);
      if (read == MaildirFolder::ReadResult::kGone) {
        // Read by a mail program meanwhile: new/ to cur/, flags added.
        if (const std::optional<MaildirMessage> moved = folder->MovedToCur(file)) {
          read = folder->Read(*moved, message_file::kLargestMessage, &bytes, &why);
        }
      }
      if (read != MaildirFolder::ReadResult::kRead) {
        Log(why);
        ++skipped;
        // A message that is there and cannot be read is still to import.
        if (read == MaildirFolder::ReadResult::kUnreadable) StoppedShort();
        SetProgress(position);
        continue;
      }
      const message_file::Verdict verdict = message_file::Examine(bytes);
      if (verdict != message_file::Verdict::kMessage) {
        const std::string folder_path = relative.empty() ? path : path + "/" + relative;
        Log(fmt::format(
            "{}/{}/{}: skipped, {}.", folder_path, file.in_new ? "new" : "cur", file.file_name,
            verdict == message_file::Verdict::kEmpty ? "it is empty"
                                                     : "it does not read as a mail message"));
        ++skipped;
        SetProgress(position);
        continue;
      }
      message_file::Message message =
          message_file::AsMailboxMessage(bytes, static_cast<int64_t>(file.delivered));
      ++messages;
      RawMessage raw{std::move(message.raw_text), std::move(message.separator_line), mailbox};
      if (ImportMessage(std::move(raw), position) == Outcome::kStopped) return StopResult();
    }
  }
  EndMessages();
  if (messages == 0 && skipped == 0 && !WasAborted() && first_second == 0) {
    Log(fmt::format("{}: the Maildir holds no message.", path));
  }
  if (skipped > 0) {
    Log(fmt::format("{}: {} file(s) of the Maildir were not imported (see above).", path, skipped));
  }
  if (!WasAborted()) SetProgress(position);
  return 1;
}
