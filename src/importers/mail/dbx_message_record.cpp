#include "importers/mail/dbx_message_record.h"

#include <fmt/format.h>

namespace {

constexpr uint64_t kHeaderSize = 12;
constexpr uint64_t kBodyLengthAt = 4;
constexpr uint64_t kFieldCountAt = 0x0A;
constexpr uint64_t kEntrySize = 4;

// The fields this import reads.
constexpr uint8_t kIndexField = 0x00;
constexpr uint8_t kTextOffsetField = 0x04;
constexpr uint8_t kSubjectField = 0x08;

constexpr uint32_t kDirectValue = 0x80;

// The entries and data of one record, every read kept inside its body.
class RecordFields {
 public:
  RecordFields(const DbxBytes& file, uint64_t body, uint64_t body_length, uint32_t count)
      : file_(file), body_(body), body_length_(body_length), count_(count) {}

  // The entry of field `number`, if the record has it.
  std::optional<uint32_t> Entry(uint8_t number) const {
    for (uint32_t i = 0; i < count_; ++i) {
      const uint32_t entry = *file_.U32(body_ + i * kEntrySize);
      if ((entry & 0x7F) == number) return entry;
    }
    return std::nullopt;
  }

  // Where field data at `relative` begins in the file, when `length` bytes
  // from there lie inside the body.
  std::optional<uint64_t> DataAt(uint32_t relative, uint64_t length) const {
    const uint64_t data = count_ * kEntrySize;
    if (relative > body_length_ - data || length > body_length_ - data - relative) {
      return std::nullopt;
    }
    return body_ + data + relative;
  }

  // A value of four bytes: kept in the entry itself, or in the data.
  std::optional<uint32_t> Number(uint32_t entry) const {
    if ((entry & kDirectValue) != 0) return entry >> 8;
    const std::optional<uint64_t> at = DataAt(entry >> 8, 4);
    return at ? file_.U32(*at) : std::nullopt;
  }

  // A text ended by NUL (or by the end of the body).
  std::string_view Text(uint32_t entry) const {
    if ((entry & kDirectValue) != 0) return {};
    const std::optional<uint64_t> at = DataAt(entry >> 8, 0);
    if (!at) return {};
    const std::string_view rest = file_.Span(*at, body_ + body_length_ - *at);
    return rest.substr(0, rest.find('\0'));
  }

 private:
  const DbxBytes& file_;
  uint64_t body_;         // file offset of the first entry
  uint64_t body_length_;  // entries and data
  uint32_t count_;
};

}  // namespace

bool ReadDbxMessageRecord(const DbxBytes& file, uint32_t offset, DbxMessageRecord* record,
                          DbxProblem* problem) {
  if (!file.Holds(offset, kHeaderSize)) {
    *problem = {DbxProblem::Kind::kCutShort, offset,
                fmt::format("the record of a message at offset {} lies beyond the end of the file",
                            offset)};
    return false;
  }
  if (*file.U32(offset) != offset) {
    *problem = {
        DbxProblem::Kind::kDamaged, offset,
        fmt::format("the index points at offset {}, where no message record stands", offset)};
    return false;
  }
  const uint32_t body_length = *file.U32(offset + kBodyLengthAt);
  const uint32_t count = *file.U8(offset + kFieldCountAt);
  if (!file.Holds(offset + kHeaderSize, body_length)) {
    *problem = {DbxProblem::Kind::kCutShort, offset,
                fmt::format("the record of a message at offset {} is cut short by the end of the "
                            "file",
                            offset)};
    return false;
  }
  if (uint64_t{count} * kEntrySize > body_length) {
    *problem = {DbxProblem::Kind::kDamaged, offset,
                fmt::format("the record of a message at offset {} claims more fields than it "
                            "holds",
                            offset)};
    return false;
  }
  const RecordFields fields(file, offset + kHeaderSize, body_length, count);
  *record = DbxMessageRecord{};
  record->offset = offset;
  if (const std::optional<uint32_t> index = fields.Entry(kIndexField)) {
    record->index = fields.Number(*index);
  }
  if (const std::optional<uint32_t> subject = fields.Entry(kSubjectField)) {
    record->subject = fields.Text(*subject);
  }
  if (const std::optional<uint32_t> text = fields.Entry(kTextOffsetField)) {
    record->text_offset = fields.Number(*text);
    if (!record->text_offset) {
      *problem = {DbxProblem::Kind::kDamaged, offset,
                  fmt::format("the record of a message at offset {} is damaged: where its text "
                              "begins lies outside the record",
                              offset)};
      return false;
    }
    // Offset 0 is how a record says that it has no text.
    if (*record->text_offset == 0) record->text_offset.reset();
  }
  return true;
}
