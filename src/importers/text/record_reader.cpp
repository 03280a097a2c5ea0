#include "importers/text/record_reader.h"

namespace ks::text {

RecordReader::RecordReader(ByteSource& source, size_t max_record_bytes)
    : source_(source),
      max_record_bytes_(max_record_bytes),
      block_(std::make_unique_for_overwrite<char[]>(kBlockSize)) {}

void RecordReader::BuildStopTables(char qualifier) {
  stops_outside_.fill(0);
  stops_inside_.fill(0);
  for (auto* table : {&stops_outside_, &stops_inside_}) {
    (*table)[0] = 1;
    if (qualifier != 0) (*table)[static_cast<unsigned char>(qualifier)] = 1;
  }
  stops_outside_[static_cast<unsigned char>('\r')] = 1;
  stops_outside_[static_cast<unsigned char>('\n')] = 1;
  tables_qualifier_ = qualifier;
}

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
  if (qualifier != tables_qualifier_) BuildStopTables(qualifier);
  bool inside = false;  // within quoted text
  const uint8_t* stops = stops_outside_.data();
  while (true) {
    if (!Fill()) {
      if (source_failed_) return Outcome::kReadFailed;
      return record->empty() ? Outcome::kEndOfInput : Outcome::kRecord;
    }
    const char* const data = block_.get();
    size_t at = begin_;
    while (at < end_) {
      // Runs of ordinary bytes are skipped through the table; only the
      // bytes it marks need a look.
      while (at < end_ && !stops[static_cast<unsigned char>(data[at])]) ++at;
      if (at == end_) break;
      const char c = data[at];
      if (qualifier != 0 && c == qualifier) {
        inside = !inside;
        stops = inside ? stops_inside_.data() : stops_outside_.data();
        ++at;
      } else {
        break;  // a NUL, or a line end outside quoted text
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
