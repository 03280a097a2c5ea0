// ParadoxHeader: what the header block of a Paradox table (.db) says about
// the rest of the file: the size of a record and of a data block, where the
// chain of data blocks starts, the fields (type, size in the record, name)
// and the code page of the text.
//
// The header block opens every .db file.  Its fixed part is the same from
// Paradox 3 to 7; files of version 4 and later add a second fixed part
// (with the code page) before the field list, and version 7 gives table
// names more room.  Numbers in the header are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/byte_order.h"

namespace ks::tables {

// Field types as the header's field list gives them.
enum class ParadoxType : uint8_t {
  kAlpha = 0x01,
  kDate = 0x02,
  kShort = 0x03,
  kLong = 0x04,
  kCurrency = 0x05,
  kNumber = 0x06,
  kLogical = 0x09,
  kMemo = 0x0C,
  kBlob = 0x0D,
  kFormattedMemo = 0x0E,
  kOle = 0x0F,
  kGraphic = 0x10,
  kTime = 0x14,
  kTimestamp = 0x15,
  kAutoInc = 0x16,
  kBcd = 0x17,
  kBytes = 0x18,
};

// A memo or blob field ends with a pointer of this many bytes into the .mb
// file; the bytes before it hold the value's first bytes (the leader).
inline constexpr uint16_t kBlobPointerSize = 10;

struct ParadoxField {
  ParadoxType type = ParadoxType::kAlpha;
  uint16_t size = 0;    // as the field list says: the width, but for BCD the digits after the point
  uint16_t width = 0;   // bytes in the record (BCD values always take 17)
  uint32_t offset = 0;  // where the value starts in the record
  std::string name;     // as stored, in the table's code page
};

struct ParadoxHeader {
  uint16_t record_size = 0;
  uint16_t header_size = 0;  // where data block 1 starts
  uint32_t block_size = 0;   // bytes of a data block
  uint32_t record_count = 0;
  uint16_t first_block = 0;  // 1-based; 0 when the table has no data block
  uint8_t version = 0;       // 3 (Paradox 3.0) to 12 (Paradox 7)
  uint16_t code_page = 0;    // 0 when the file does not say
  bool encrypted = false;
  std::vector<ParadoxField> fields;

  // How many whole data blocks a file of `file_size` bytes holds.
  uint64_t BlocksIn(uint64_t file_size) const {
    return file_size > header_size ? (file_size - header_size) / block_size : 0;
  }
};

// Little-endian numbers of the file's structures (headers, block heads,
// blob pointers) at `at` of `bytes`; the caller knows they are there.
inline uint16_t ParadoxWord(std::string_view bytes, size_t at) {
  return static_cast<uint16_t>(LittleEndian(bytes, at, 2));
}
inline uint32_t ParadoxLong(std::string_view bytes, size_t at) {
  return static_cast<uint32_t>(LittleEndian(bytes, at, 4));
}

// The bytes of the fixed part every version has, enough to learn the
// header's whole size.
inline constexpr size_t kParadoxFixedHeaderSize = 0x58;

// Reads the header from the first bytes of a .db file (at least the
// header's size, or the whole file when it is shorter).  Throws TableError
// kDamaged when the bytes do not make a Paradox table header, and
// kPasswordProtected when the table is encrypted.
ParadoxHeader ParseParadoxHeader(std::string_view bytes, uint64_t file_size);

// The header's size as its first bytes say (0 when there are too few).
uint16_t ParadoxHeaderSize(std::string_view first_bytes);

}  // namespace ks::tables
