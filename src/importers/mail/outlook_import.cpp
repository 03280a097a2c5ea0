#include "importers/mail/outlook_import.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <ctime>
#include <fstream>

#include "core/error_codes.h"
#include "importers/mail/outlook_message.h"
#include "importers/mail/pst_folders.h"
#include "importers/mail/pst_item_reader.h"
#include "importers/mail/pst_item_walk.h"

namespace {

// Attachment names come from the file: only their last part is kept, as a
// name, never a path, and never longer than a file name may be.
constexpr size_t kLongestAttachmentName = 255;

std::string AttachmentName(const std::string& given, size_t index) {
  const size_t slash = given.find_last_of("/\\");
  std::string name = slash == std::string::npos ? given : given.substr(slash + 1);
  std::erase_if(name, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (name.size() > kLongestAttachmentName) {
    size_t cut = kLongestAttachmentName;
    // Never in the middle of a UTF-8 character.
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
    name.resize(cut);
  }
  if (name.empty() || name == "." || name == "..") name = fmt::format("attachment {}", index + 1);
  return name;
}

// The Windows code page number of the configured ANSI code page
// ("WINDOWS-1252", "CP932"), for the text of ANSI files; 0 when it has none.
int CodePageNumber(const std::string& name) {
  const size_t digits = name.find_first_of("0123456789");
  if (digits == std::string::npos) return 0;
  int number = 0;
  for (size_t i = digits; i < name.size() && std::isdigit(static_cast<unsigned char>(name[i])) &&
                          number < 100000;
       ++i) {
    number = number * 10 + (name[i] - '0');
  }
  return number;
}

std::optional<MessageDayRange::Day> DayOf(const std::optional<int64_t>& time) {
  if (!time) return std::nullopt;
  const time_t seconds = static_cast<time_t>(*time);
  struct tm utc {};
  if (gmtime_r(&seconds, &utc) == nullptr) return std::nullopt;
  return MessageDayRange::Day{utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday};
}

uint32_t ErrorCodeOf(PstError::Kind kind) {
  switch (kind) {
    case PstError::Kind::kNotOutlookFile:
      return error_code::kWrongFileType;
    case PstError::Kind::kCut:
      return error_code::kEndOfFile;
    case PstError::Kind::kDamaged:
      break;
  }
  return error_code::kCannotOpenFile;
}

// The folders the import runs through: every one, or the one named.
std::vector<PstFolder*> SelectedFolders(PstFolderList& list, const std::string& wanted) {
  std::vector<PstFolder*> selected;
  if (wanted.empty()) {
    for (PstFolder& folder : list.folders) selected.push_back(&folder);
  } else if (PstFolder* folder = FindPstFolder(list, wanted)) {
    selected.push_back(folder);
  }
  return selected;
}

// What was passed over, by kind, for the log.
class LeftOutItems {
 public:
  void Count(OutlookItem::Kind kind) { ++counts_[static_cast<size_t>(kind)]; }

  std::string Text() const {
    static constexpr std::array<std::pair<const char*, const char*>, 7> kNames = {{
        {"message", "messages"},
        {"contact", "contacts"},
        {"appointment", "appointments"},
        {"task", "tasks"},
        {"note", "notes"},
        {"journal entry", "journal entries"},
        {"other item", "other items"},
    }};
    std::string text;
    for (size_t i = 0; i < counts_.size(); ++i) {
      if (counts_[i] == 0) continue;
      if (!text.empty()) text += ", ";
      text += fmt::format("{} {}", counts_[i], counts_[i] == 1 ? kNames[i].first : kNames[i].second);
    }
    return text;
  }

 private:
  std::array<uint64_t, 7> counts_{};
};

}  // namespace

int CIMPOutlookImport::CheckFile(const std::string& file_name) {
  std::ifstream in(file_name, std::ios::binary);
  std::string first(PstHeader::kBytesRead, '\0');
  in.read(first.data(), static_cast<std::streamsize>(first.size()));
  first.resize(static_cast<size_t>(in.gcount()));
  return PstHeader::Read(first) ? 1 : 0;
}

int CIMPOutlookImport::ImportSource() {
  const std::string& path = Options().file_name;
  const std::string& wanted = Options().imap_mailbox;
  const auto failed = [&](uint32_t code, const std::string& why) {
    Fail(code);
    Log(fmt::format("{}: {}.", path, why));
    return 0;
  };

  std::optional<PstFile> file;
  PstFolderList folders;
  try {
    file.emplace(path, CodePageNumber(Context().code_pages().ansi));
    folders = ListPstFolders(*file);
  } catch (const PstError& error) {
    return failed(ErrorCodeOf(error.kind()),
                  fmt::format("the Outlook file cannot be read: {}", error.what()));
  }
  const bool cut = file->header().IsCut(file->size());
  std::vector<std::string> damage = std::move(folders.problems);
  if (cut) {
    damage.insert(damage.begin(), fmt::format("the file is cut short: it holds {} of its {} bytes",
                                              file->size(), file->header().end_of_file));
  }
  const std::vector<PstFolder*> selected = SelectedFolders(folders, wanted);
  if (selected.empty()) {
    std::string names;
    for (const PstFolder& folder : folders.folders) {
      if (folder.path.empty()) continue;
      names += fmt::format("{}\"{}\"", names.empty() ? "" : ", ", folder.path);
    }
    return failed(error_code::kCannotOpenFile,
                  fmt::format("the Outlook file has no folder \"{}\"; its folders are {}", wanted,
                              names.empty() ? "none" : names));
  }

  BeginMessages(std::nullopt);
  PstItemReader::Limits limits;
  limits.most_attachment_bytes = Context().attachment_rules().max_bytes;
  const PstItemReader reader(limits, Context().code_pages().ansi);
  COutlookMessage composer;
  composer.SetFieldMarker(FieldMarker());
  LeftOutItems left_out;
  uint64_t position = 0;

  PstItemWalk walk(selected, reader);
  while (!Aborted()) {
    std::optional<PstItemWalk::Step> step = walk.Next(WantsAttachments());
    if (!step) break;
    position += step->items_passed;
    if (!step->item) {
      damage.push_back(std::move(step->problem));
      SetProgress(position);
      continue;
    }
    OutlookItem& read = *step->item;
    if (read.kind != OutlookItem::Kind::kMessage) {
      left_out.Count(read.kind);
      SetProgress(position);
      continue;
    }
    if (!TakesMessageOf(DayOf(read.time), position)) continue;

    for (const std::string& line : step->left_out) {
      Log(fmt::format("An attachment of message \"{}\" was left out: {}", read.subject, line));
    }
    std::vector<CDocumentWriter::Attachment> attachments;
    for (size_t i = 0; i < read.attachments.size(); ++i) {
      OutlookAttachment& attachment = read.attachments[i];
      std::string name = AttachmentName(attachment.name, i);
      std::string content = std::move(attachment.content);
      if (attachment.message) {
        // An attached message is kept as the document it would have made.
        const bool html = !attachment.message->html_body.empty();
        content = composer.DocumentText("", *attachment.message);
        name += html ? ".htm" : ".txt";
      }
      Log(fmt::format("Opened attachment file \"{}\" for message \"{}\"", name, read.subject));
      attachments.push_back({std::move(name), std::move(content)});
    }
    const std::string text = composer.DocumentText(step->folder->path, read);
    if (SaveMessage(text, std::move(attachments), position) == Outcome::kStopped) {
      return StopResult();
    }
  }
  if (WasAborted()) return 1;
  EndMessages();
  if (const std::string text = left_out.Text(); !text.empty()) {
    Log(fmt::format("{}: not imported, as only messages become documents: {}.", path, text));
  }
  if (!damage.empty()) {
    for (const std::string& line : damage) Log(fmt::format("{}: {}.", path, line));
    Log(fmt::format("{}: the Outlook file is damaged; {} messages were imported from it.", path,
                    ImportedMessages()));
    Fail(cut ? error_code::kEndOfFile : error_code::kCannotOpenFile);
    return 0;
  }
  return 1;
}

std::optional<uint64_t> CountOutlookItems(const std::string& path, const std::string& folder) {
  try {
    PstFile file(path, 0);
    PstFolderList list = ListPstFolders(file);
    const std::vector<PstFolder*> selected = SelectedFolders(list, folder);
    if (selected.empty()) return std::nullopt;
    uint64_t count = 0;
    for (const PstFolder* one : selected) count += static_cast<uint64_t>(std::max(one->item_count, 0));
    return count;
  } catch (const PstError&) {
    return std::nullopt;
  }
}
