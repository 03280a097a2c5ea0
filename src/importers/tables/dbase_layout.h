// DbfLayout: what the header of a dBase or FoxPro table says about its
// records: how many, where they start, how long each is, the fields in
// each, the code page of its text and the memo file it needs.  Read from
// the first bytes of the file, checked against the file's length, so that
// a damaged header is refused before a record is read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/byte_order.h"

namespace ks::tables {

// How a field's bytes become a value.
enum class DbfValueKind : uint8_t {
  kText,        // C: text, trailing blanks dropped
  kVarText,     // V: Visual FoxPro varchar, its length in its last byte
  kNumber,      // N, F: digits as stored
  kDate,        // D: YYYYMMDD
  kLogical,     // L
  kMemo,        // M: text in the memo file
  kBinaryMemo,  // G, P, dBase B, W, binary M, Q, dBase 7 @: not imported, null
  kInteger,     // I, +: 4-byte little-endian
  kCurrency,    // Y: 8-byte ten-thousandths
  kDateTime,    // T: Julian day and milliseconds
  kDouble,      // B (Visual FoxPro), O
  kHidden,      // 0: _NullFlags, read for the others, never a column
  kSortableInteger,  // dBase 7 I, +: big-endian, sign bit flipped
  kSortableDouble,   // dBase 7 O: big-endian, bits flipped to sort as bytes
};

struct DbfField {
  std::string raw_name;  // as stored, in the table's code page
  char type = 'C';
  DbfValueKind kind = DbfValueKind::kText;
  uint32_t offset = 0;  // from the start of the record (its deletion flag is byte 0)
  uint32_t length = 0;
  uint8_t decimals = 0;
  uint8_t flags = 0;    // Visual FoxPro: system, nullable, binary
  int null_bit = -1;    // Visual FoxPro: the bit of _NullFlags that makes it null
  int length_bit = -1;  // Visual FoxPro: the bit set when a varchar is shorter than its field
};

enum class DbfMemoStyle : uint8_t {
  kNone,     // no memo fields
  kDbase3,   // .dbt, 512-byte blocks, a memo ends at 0x1A
  kDbase4,   // .dbt, block size in the header, a memo has a length header
  kFoxPro,   // .fpt, big-endian block size, block type and length
};

struct DbfLayout {
  uint8_t version = 0;
  bool visual_foxpro = false;
  uint32_t record_count = 0;
  uint64_t first_record = 0;  // file offset of the first record
  uint32_t record_length = 0;
  // The code page the language driver byte names, as iconv knows it;
  // empty when the byte is 0 or not one we know.
  std::string code_page;
  std::vector<DbfField> fields;  // every field of the record, hidden ones too
  int null_flags = -1;           // index in `fields` of _NullFlags, -1 without
  DbfMemoStyle memo_style = DbfMemoStyle::kNone;
};

// An unsigned number of `bytes` bytes (at most 8) at `p`, least or most
// significant first: the tables keep their numbers both ways.
// The number of bytes ReadDbfLayout wants to see first: enough for any
// fixed part of a header; it then says how many it needs in all.
inline constexpr size_t kDbfFixedHeader = 68;

// How many bytes of the file the header takes, from its fixed part (at
// least the first 32 bytes, or what the file holds).  Throws TableError
// kDamaged when the bytes are no table's.
size_t DbfHeaderLength(std::string_view fixed_part, uint64_t file_size);

// Reads the whole header (DbfHeaderLength bytes) of a file of `file_size`
// bytes.  Throws TableError kDamaged with the reason when it does not
// describe a table the file can hold.
DbfLayout ReadDbfLayout(std::string_view header, uint64_t file_size);

// The iconv name of the code page a language driver byte names; empty for
// 0 and bytes not in our table.
std::string_view CodePageOfLanguageDriver(uint8_t id);

}  // namespace ks::tables
