#include "importers/mail/dbx_folder_reader.h"

#include "importers/mail/dbx_message_record.h"
#include "importers/mail/dbx_message_text.h"

DbxFolderReader::DbxFolderReader(std::string_view file)
    : file_(file), header_(ReadDbxFileHeader(file)) {
  if (header_.kind != DbxFileKind::kMessageFolder) return;
  if (header_.cut_short) {
    header_problem_ = DbxProblem{DbxProblem::Kind::kCutShort, 0,
                                 "the header of the folder is cut short by the end of the file"};
    return;
  }
  index_.emplace(file_, header_.index_root);
}

const std::optional<DbxProblem>& DbxFolderReader::index_problem() const {
  return index_ ? index_->problem() : header_problem_;
}

bool DbxFolderReader::Next(Message* message) {
  if (!index_) return false;
  while (true) {
    const std::optional<uint32_t> record_offset = index_->Next();
    if (!record_offset) return false;
    ++listed_;
    message->record_offset = *record_offset;
    message->raw_text.clear();
    message->subject.clear();
    message->index.reset();
    DbxMessageRecord record;
    if (!ReadDbxMessageRecord(file_, *record_offset, &record, &message->problem)) {
      message->state = Message::State::kUnreadable;
      return true;
    }
    if (first_index_ > 0 && (!record.index || uint64_t{*record.index} < first_index_)) continue;
    message->subject.assign(record.subject);
    message->index = record.index;
    if (!record.text_offset) {
      message->state = Message::State::kNoText;
      return true;
    }
    message->state =
        ReadDbxMessageText(file_, *record.text_offset, &message->raw_text, &message->problem)
            ? Message::State::kRead
            : Message::State::kUnreadable;
    return true;
  }
}
