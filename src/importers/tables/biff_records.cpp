#include "importers/tables/biff_records.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/charset_converter.h"
#include "core/utf16_decoder.h"
#include "importers/tables/table_source.h"

namespace ks::tables {

void ThrowDamagedBiff(const std::string& what) {
  throw TableError(TableError::Kind::kDamaged, "a damaged .xls workbook: " + what);
}

bool BiffRecords::Read(uint64_t offset, char* into, size_t size) {
  constexpr size_t kWindow = 65536;
  if (offset < window_start_ || offset + size > window_start_ + window_.size()) {
    if (offset > stream_.Size()) return false;
    window_.resize(static_cast<size_t>(std::min<uint64_t>(std::max(kWindow, size), stream_.Size() - offset)));
    window_start_ = offset;
    if (!stream_.ReadAt(offset, window_.data(), window_.size())) {
      // The window may reach a damaged part the record does not: read it alone.
      window_.resize(std::min(size, window_.size()));
      if (!stream_.ReadAt(offset, window_.data(), window_.size())) {
        window_.clear();
        return false;
      }
    }
    if (size > window_.size()) return false;
  }
  std::copy_n(window_.data() + (offset - window_start_), size, into);
  return true;
}

bool BiffRecords::Next() {
  char header[4];
  if (next_ >= stream_.Size()) return false;
  if (!Read(next_, header, sizeof header)) ThrowDamagedBiff("a record is cut short by the end of the stream");
  const uint16_t length = BiffLe16({header, 4}, 2);
  data_.resize(length);
  if (!Read(next_ + 4, data_.data(), length)) ThrowDamagedBiff("a record is cut short by the end of the stream");
  offset_ = next_;
  next_ += 4u + length;
  type_ = BiffLe16({header, 4}, 0);
  return true;
}

void BiffData::Continue() {
  if (!records_.Next()) ThrowDamagedBiff("a record's data runs past the end of the stream");
  if (records_.Type() != biff::kContinue) {
    records_.Unread();  // the record is the caller's next
    ThrowDamagedBiff("a record's data runs past its end");
  }
  data_ = records_.Data();
  at_ = 0;
}

bool BiffData::MoreFollows() {
  if (at_ < data_.size()) return true;
  if (!records_.Next()) return false;
  const bool more = records_.Type() == biff::kContinue;
  records_.Unread();  // read again by Continue(), or left to the caller
  return more;
}

uint8_t BiffData::U8() {
  while (at_ >= data_.size()) Continue();
  return static_cast<uint8_t>(data_[at_++]);
}

uint16_t BiffData::U16() {
  const uint16_t low = U8();
  return static_cast<uint16_t>(low | U8() << 8);
}

uint32_t BiffData::U32() {
  const uint32_t low = U16();
  return low | static_cast<uint32_t>(U16()) << 16;
}

void BiffData::Skip(uint64_t count) {
  while (count > 0) {
    while (at_ >= data_.size()) Continue();
    const size_t step = static_cast<size_t>(std::min<uint64_t>(count, data_.size() - at_));
    at_ += step;
    count -= step;
  }
}

void BiffData::Characters(uint32_t count, bool wide, std::string& out) {
  std::string utf16;  // little-endian code units
  utf16.reserve(2 * std::min<size_t>(count, 8224));
  while (utf16.size() < 2 * size_t{count}) {
    if (at_ >= data_.size()) {
      // A string split across records: the new record says again whether
      // its characters are one byte or two.
      Continue();
      if (data_.empty()) continue;
      wide = (static_cast<uint8_t>(data_[at_++]) & 0x01) != 0;
      continue;
    }
    if (!wide) {
      utf16 += data_[at_++];
      utf16 += '\0';
    } else {
      if (data_.size() - at_ < 2) ThrowDamagedBiff("a character is split across records");
      utf16.append(data_.substr(at_, 2));
      at_ += 2;
    }
  }
  static thread_local core::Utf16Decoder decoder(core::Utf16Decoder::ByteOrder::kLittleEndian);
  decoder.Append(utf16, true, out);
}

void BiffData::String(bool short_count, std::string& out) {
  const uint32_t count = short_count ? U8() : U16();
  if (!biff8_) {
    std::string bytes;
    bytes.reserve(count);
    for (uint32_t i = 0; i < count; ++i) bytes += static_cast<char>(U8());
    core::CharsetConverter::ForThisThread().AppendText(code_page_, bytes, out);
    return;
  }
  const uint8_t flags = U8();
  const uint32_t runs = (flags & 0x08) ? U16() : 0;
  const uint32_t phonetic = (flags & 0x04) ? U32() : 0;
  Characters(count, (flags & 0x01) != 0, out);
  Skip(uint64_t{runs} * 4 + phonetic);
}

std::string CharsetOfCodePage(uint16_t code_page) {
  switch (code_page) {
    case 367:
      return "us-ascii";
    case 932:
      return "shift_jis";
    case 936:
      return "gbk";
    case 949:
      return "cp949";
    case 950:
      return "big5";
    case 10000:
    case 32768:
      return "macintosh";
    case 32769:
      return "windows-1252";
    default:
      if (code_page >= 1250 && code_page <= 1258) return fmt::format("windows-{}", code_page);
      return fmt::format("cp{}", code_page);
  }
}

}  // namespace ks::tables
