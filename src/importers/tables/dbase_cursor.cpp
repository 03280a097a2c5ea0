#include "importers/tables/dbase_cursor.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

// About this many bytes of records are read at a time.
constexpr size_t kBlockBytes = 256 * 1024;

uint32_t Le32(const char* p) { return static_cast<uint32_t>(LittleEndian(p, 4)); }

std::string_view TrimRight(std::string_view s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
  return s;
}

std::string_view Trim(std::string_view s) {
  s = TrimRight(s);
  while (!s.empty() && (s.front() == ' ' || s.front() == '\0')) s.remove_prefix(1);
  return s;
}

// Whether every byte of `s` passes `test`: a plain loop, several times
// faster than find_first_not_of, which runs memchr for every byte.
template <typename Test>
bool AllOf(std::string_view s, Test test) {
  for (const char c : s) {
    if (!test(c)) return false;
  }
  return true;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsNumberByte(char c) { return IsDigit(c) || c == '.' || c == '-' || c == '+' || c == ','; }

}  // namespace

DbfCursor::DbfCursor(std::unique_ptr<ReadOnlyFile> file, DbfLayout layout, std::string code_page,
                     std::unique_ptr<DbfMemoFile> memo, std::string file_name)
    : file_(std::move(file)),
      layout_(std::move(layout)),
      code_page_(std::move(code_page)),
      memo_(std::move(memo)),
      file_name_(std::move(file_name)) {
  std::string scratch;
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    const DbfField& field = layout_.fields[i];
    if (field.kind == DbfValueKind::kHidden) continue;
    std::string name(Text(field.raw_name, scratch));
    if (name.empty()) name = fmt::format("Field{}", names_.size() + 1);
    names_.push_back(std::move(name));
    field_of_.push_back(i);
  }
  buffers_.resize(names_.size());
  records_per_block_ = std::max<size_t>(1, kBlockBytes / layout_.record_length);
  block_ = std::make_unique<char[]>(records_per_block_ * layout_.record_length);
}

std::vector<std::string> DbfCursor::Notes() const {
  if (memo_ || layout_.memo_style == DbfMemoStyle::kNone) return {};
  return {"The memo file of " + file_name_ + " is missing: its memo fields are imported empty."};
}

std::vector<std::string> DbfCursor::BinaryColumns() const {
  std::vector<std::string> binary;
  for (size_t i = 0; i < names_.size(); ++i) {
    if (layout_.fields[field_of_[i]].kind == DbfValueKind::kBinaryMemo) binary.push_back(names_[i]);
  }
  return binary;
}

double DbfCursor::Progress() const {
  if (layout_.record_count == 0) return 1;
  const size_t taken = records_read_ - block_records_ + std::min(in_block_ + 1, block_records_);
  return static_cast<double>(taken) / layout_.record_count;
}

bool DbfCursor::Next() {
  while (NextRecord()) {
    if (record_[0] != '*') return true;  // '*' marks a deleted record
  }
  record_ = nullptr;
  return false;
}

bool DbfCursor::NextRecord() {
  const size_t length = layout_.record_length;
  if (in_block_ + 1 < block_records_) {
    ++in_block_;
  } else {
    if (records_read_ >= layout_.record_count) return false;
    const size_t wanted = std::min<size_t>(records_per_block_, layout_.record_count - records_read_);
    const uint64_t offset = layout_.first_record + uint64_t{records_read_} * length;
    const size_t got = file_->ReadUpTo(offset, wanted * length, block_.get());
    const size_t whole = got / length;
    if (whole == 0) {
      // An end-of-file mark where a record would be is a clean end; less
      // than a record is a table cut short.
      if (got > 0 && block_[0] == '\x1a') return false;
      throw TableError(TableError::Kind::kDamaged,
                       fmt::format("{} ends after {} of the {} records its header counts", file_name_,
                                   records_read_, layout_.record_count));
    }
    block_records_ = whole;
    records_read_ += static_cast<uint32_t>(whole);
    in_block_ = 0;
  }
  record_ = block_.get() + in_block_ * length;
  if (record_[0] == '\x1a') {
    records_read_ = layout_.record_count;  // the end-of-file mark ends the records
    block_records_ = 0;
    return false;
  }
  return true;
}

bool DbfCursor::IsNull(const DbfField& field) const {
  if (field.null_bit < 0 || layout_.null_flags < 0) return false;
  const DbfField& flags = layout_.fields[static_cast<size_t>(layout_.null_flags)];
  const auto byte = static_cast<uint8_t>(record_[flags.offset + static_cast<uint32_t>(field.null_bit) / 8]);
  return ((byte >> (field.null_bit % 8)) & 1) != 0;
}

std::optional<std::string_view> DbfCursor::Value(size_t column) {
  if (record_ == nullptr || column >= names_.size()) return std::nullopt;
  const DbfField& field = layout_.fields[field_of_[column]];
  if (IsNull(field)) return std::nullopt;
  return Decode(field, std::string_view(record_ + field.offset, field.length), buffers_[column]);
}

std::string_view DbfCursor::Text(std::string_view bytes, std::string& out) {
  if (ks::core::IsAscii(bytes)) return bytes;
  out.clear();
  if (!converter_.AppendDeclared(code_page_, bytes, out)) converter_.AppendUndeclared(bytes, out);
  return out;
}

std::optional<std::string_view> DbfCursor::Decode(const DbfField& field, std::string_view bytes,
                                                  std::string& out) {
  switch (field.kind) {
    case DbfValueKind::kText:
      return Text(TrimRight(bytes), out);
    case DbfValueKind::kVarText: {
      // A varchar shorter than its field keeps its length in the last byte.
      if (field.length_bit >= 0 && layout_.null_flags >= 0 && !bytes.empty()) {
        const DbfField& flags = layout_.fields[static_cast<size_t>(layout_.null_flags)];
        const auto byte = static_cast<uint8_t>(record_[flags.offset + static_cast<uint32_t>(field.length_bit) / 8]);
        if (((byte >> (field.length_bit % 8)) & 1) != 0) {
          bytes = bytes.substr(0, std::min<size_t>(static_cast<uint8_t>(bytes.back()), bytes.size() - 1));
        }
      }
      return Text(bytes, out);
    }
    case DbfValueKind::kNumber: {
      const std::string_view digits = Trim(bytes);
      if (AllOf(digits, [](char c) { return c == '*'; })) return std::nullopt;  // blank, or stars for a number too wide
      if (!AllOf(digits, IsNumberByte) || AllOf(digits, [](char c) { return !IsDigit(c); })) {
        return Text(digits, out);  // not a number: what is stored, as text
      }
      out.clear();
      if (digits.find(',') == std::string_view::npos) {
        AppendDecimalText(digits, out);
      } else {
        std::string point(digits);  // a decimal comma: rare enough to copy
        std::replace(point.begin(), point.end(), ',', '.');
        AppendDecimalText(point, out);
      }
      return out;
    }
    case DbfValueKind::kDate: {
      const std::string_view stored = Trim(bytes);
      if (AllOf(stored, [](char c) { return c == '0'; })) return std::nullopt;  // blank or zeros: no date
      if (stored.size() == 8 && AllOf(stored, IsDigit)) {
        const auto number = [&](size_t at, size_t n) {
          int value = 0;
          for (size_t i = at; i < at + n; ++i) value = value * 10 + (stored[i] - '0');
          return value;
        };
        const CivilDate date{number(0, 4), number(4, 2), number(6, 2)};
        if (IsValidDate(date)) {
          // YYYY-MM-DD from the stored digits, as AppendDate would write it.
          out.assign(stored.substr(0, 4)).append(1, '-').append(stored.substr(4, 2)).append(1, '-');
          out.append(stored.substr(6, 2));
          return out;
        }
      }
      // Not a date: the stored text, so that nothing is lost.
      return Text(stored, out);
    }
    case DbfValueKind::kLogical:
      switch (bytes.empty() ? ' ' : bytes[0]) {
        case 'T': case 't': case 'Y': case 'y': return "True";
        case 'F': case 'f': case 'N': case 'n': return "False";
        default: return std::nullopt;  // '?' or blank: not known
      }
    case DbfValueKind::kMemo:
      return Memo(bytes, out);
    case DbfValueKind::kBinaryMemo:
    case DbfValueKind::kHidden:
      return std::nullopt;
    case DbfValueKind::kInteger:
      out.clear();
      AppendInteger(static_cast<int32_t>(Le32(bytes.data())), out);
      return out;
    case DbfValueKind::kSortableInteger:
      out.clear();
      AppendInteger(static_cast<int32_t>(static_cast<uint32_t>(BigEndian(bytes.data(), 4)) ^ 0x80000000u), out);
      return out;
    case DbfValueKind::kCurrency: {
      const auto units = static_cast<int64_t>(LittleEndian(bytes.data(), 8));
      out.clear();
      AppendScaled(units, 4, out);
      return out;
    }
    case DbfValueKind::kDateTime: {
      if (AllOf(bytes, [](char c) { return c == ' ' || c == '\0'; })) return std::nullopt;
      int64_t day = Le32(bytes.data());
      if (day == 0) return std::nullopt;
      int64_t seconds = (int64_t{Le32(bytes.data() + 4)} + 500) / 1000;
      day += seconds / 86400;
      seconds %= 86400;
      out.clear();
      AppendDateTime(DateFromJulianDay(day), static_cast<int>(seconds), out);
      return out;
    }
    case DbfValueKind::kDouble: {
      const uint64_t bits = LittleEndian(bytes.data(), 8);
      double value;
      std::memcpy(&value, &bits, sizeof value);
      out.clear();
      AppendDouble(value, out);
      return out;
    }
    case DbfValueKind::kSortableDouble: {
      uint64_t bits = BigEndian(bytes.data(), 8);
      bits = (bits & 0x8000000000000000u) != 0 ? bits ^ 0x8000000000000000u : ~bits;
      double value;
      std::memcpy(&value, &bits, sizeof value);
      out.clear();
      AppendDouble(value, out);
      return out;
    }
  }
  return std::nullopt;
}

std::optional<std::string_view> DbfCursor::Memo(std::string_view bytes, std::string& out) {
  if (!memo_) return std::nullopt;
  uint32_t block = 0;
  if (bytes.size() == 4) {
    block = Le32(bytes.data());  // Visual FoxPro keeps the number in binary
  } else {
    const std::string_view digits = Trim(bytes);
    if (digits.empty() || digits.size() > 9 || !AllOf(digits, IsDigit)) return std::nullopt;
    for (const char c : digits) block = block * 10 + static_cast<uint32_t>(c - '0');
  }
  if (!memo_->Read(block, memo_bytes_)) return std::nullopt;
  if (ks::core::IsAscii(memo_bytes_)) {
    std::swap(out, memo_bytes_);
    return out;
  }
  return Text(memo_bytes_, out);
}

}  // namespace ks::tables
