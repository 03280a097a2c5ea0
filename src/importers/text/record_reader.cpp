#include "importers/text/record_reader.h"

namespace ks::text {

RecordReader::RecordReader(ByteSource& source, size_t max_record_bytes)
    : source_(source),
      max_record_bytes_(max_record_bytes),
      block_(std::make_unique<char[]>(kBlockSize)) {}

bool RecordReader::Fill() {
  if (begin_ < end_) return true;
  if (source_ended_ || source_failed_) return false;
  const ssize_t count = source_.Read(block_.get(), kBlockSize);
  if (count < 0) {
    source_failed_ = true;
    return false;
  }
  if (count == 0) {
    source_ended_ = true;
    return false;
  }
  begin_ = 0;
  end_ = static_cast<size_t>(count);
  return true;
}

void RecordReader::SkipPairedLineEnd(char line_end) {
  const char pair = line_end == '\r' ? '\n' : '\r';
  if (Fill() && block_[begin_] == pair) {
    ++begin_;
    ++consumed_;
  }
}

RecordReader::Outcome RecordReader::Read(char qualifier, std::string* record) {
  record->clear();
  if (too_long_) return Outcome::kRecordTooLong;
  record_offset_ = consumed_;
  bool inside = false;  // within quoted text
  while (true) {
    if (!Fill()) {
      if (source_failed_) return Outcome::kReadFailed;
      return record->empty() ? Outcome::kEndOfInput : Outcome::kRecord;
    }
    const char* const data = block_.get();
    size_t at = begin_;
    for (; at < end_; ++at) {
      const char c = data[at];
      if (qualifier != 0 && c == qualifier) {
        inside = !inside;
      } else if (c == '\0' || (!inside && (c == '\r' || c == '\n'))) {
        break;
      }
    }
    const size_t run = at - begin_;
    if (run > max_record_bytes_ - record->size()) {
      too_long_ = true;
      record->clear();
      return Outcome::kRecordTooLong;
    }
    record->append(data + begin_, run);
    consumed_ += run;
    begin_ = at;
    if (at == end_) continue;  // the record goes on in the next block

    const char stop = data[at];
    ++begin_;
    ++consumed_;
    if (stop != '\0') SkipPairedLineEnd(stop);
    return record->empty() ? Outcome::kEmptyRecord : Outcome::kRecord;
  }
}

}  // namespace ks::text
