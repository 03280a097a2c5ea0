// The records of a BIFF5 or BIFF8 workbook stream: BiffRecords reads them
// one after another from any offset, BiffData reads a record's fields and
// follows its CONTINUE records, and the string forms of both versions
// become UTF-8 here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "formats/stream_bytes.h"

namespace ks::tables {

using formats::MemoryStreamBytes;
using formats::StreamBytes;

namespace biff {
inline constexpr uint16_t kBof = 0x0809;
inline constexpr uint16_t kEof = 0x000A;
inline constexpr uint16_t kContinue = 0x003C;
}  // namespace biff

class BiffRecords {
 public:
  BiffRecords(StreamBytes& stream, uint64_t offset) : stream_(stream), next_(offset) {}

  // Reads the record at the current offset; false at the end of the stream.
  // A record cut short by the stream's end throws TableError kDamaged.
  bool Next();
  // Makes the next Next() read the current record again.
  void Unread() { next_ = offset_; }
  uint16_t Type() const { return type_; }
  std::string_view Data() const { return {data_.data(), data_.size()}; }
  uint64_t Offset() const { return offset_; }
  double Progress() const { return stream_.Size() == 0 ? 1 : static_cast<double>(next_) / static_cast<double>(stream_.Size()); }

 private:
  // Copies `size` bytes at `offset` through a window of the stream read
  // ahead, as records are small and come one after another.
  bool Read(uint64_t offset, char* into, size_t size);

  StreamBytes& stream_;
  std::string window_;
  uint64_t window_start_ = 0;
  uint64_t next_;
  uint64_t offset_ = 0;
  uint16_t type_ = 0;
  std::string data_;
};

// The fields of the current record, read in order, going on into the
// CONTINUE records after it when they run past its end.  Reading past the
// last of them throws TableError kDamaged.
class BiffData {
 public:
  // `records` stands on the record to read; `code_page` names the character
  // set of BIFF5 8-bit strings (see CharsetOfCodePage).
  BiffData(BiffRecords& records, bool biff8, std::string_view code_page)
      : records_(records), data_(records.Data()), biff8_(biff8), code_page_(code_page) {}

  uint8_t U8();
  uint16_t U16();
  uint32_t U32();
  void Skip(uint64_t count);
  // Whether data is left in this record or a CONTINUE record follows it.
  bool MoreFollows();

  // A string as a cell or a shared string table stores it: BIFF8's
  // character count (16-bit, or 8-bit with `short_count`), option flags,
  // rich-text and phonetic extras (skipped) and characters, whose
  // compressed flag a CONTINUE record gives again; BIFF5's byte count
  // (16-bit, or 8-bit with `short_count`) and bytes in the code page.
  void String(bool short_count, std::string& out);

 private:
  // Moves to the next CONTINUE record; throws when there is none.
  void Continue();
  void Characters(uint32_t count, bool wide, std::string& out);

  BiffRecords& records_;
  std::string_view data_;
  size_t at_ = 0;
  bool biff8_;
  std::string_view code_page_;
};

// The character set name of a CODEPAGE value, for BIFF5's 8-bit strings.
std::string CharsetOfCodePage(uint16_t code_page);

// Throws TableError kDamaged: "a damaged .xls workbook: " and `what`.
[[noreturn]] void ThrowDamagedBiff(const std::string& what);

// Little-endian fields of a record's data; the caller checks the size.
inline uint16_t BiffLe16(std::string_view data, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(data[at]) | static_cast<uint8_t>(data[at + 1]) << 8);
}
inline uint32_t BiffLe32(std::string_view data, size_t at) {
  return BiffLe16(data, at) | static_cast<uint32_t>(BiffLe16(data, at + 2)) << 16;
}

}  // namespace ks::tables
