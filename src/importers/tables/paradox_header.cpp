#include "importers/tables/paradox_header.h"

#include <cstring>

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

// Where the fixed parts keep what the reader needs.
constexpr size_t kRecordSizeAt = 0x00;
constexpr size_t kHeaderSizeAt = 0x02;
constexpr size_t kFileTypeAt = 0x04;
constexpr size_t kBlockKilobytesAt = 0x05;
constexpr size_t kRecordCountAt = 0x06;
constexpr size_t kFirstBlockAt = 0x0E;
constexpr size_t kFieldCountAt = 0x21;
constexpr size_t kEncryption1At = 0x25;
constexpr size_t kVersionAt = 0x39;
constexpr size_t kEncryption2At = 0x5C;  // version 4 and later
constexpr size_t kCodePageAt = 0x6A;     // version 4 and later
// The field list follows the fixed parts.
constexpr size_t kFieldsAtVersion3 = 0x58;
constexpr size_t kFieldsAtVersion4 = 0x78;

// File types of a table with its data (keyed or not); the others are
// indexes.
constexpr uint8_t kKeyedTable = 0;
constexpr uint8_t kUnkeyedTable = 2;

// Version bytes: 3 and 4 are Paradox 3.x, 5 to 9 Paradox 4, 10 and 11
// Paradox 5, 12 Paradox 7.
constexpr uint8_t kFirstVersion4 = 5;
constexpr uint8_t kFirstVersion7 = 12;
constexpr uint8_t kLastKnownVersion = 15;

// What encryption1 holds in an unencrypted table of version 4 and later.
constexpr uint32_t kNoEncryptionMark = 0xFF00FF00;

constexpr uint16_t kBcdWidth = 17;

[[noreturn]] void Damaged(const std::string& what) {
  throw TableError(TableError::Kind::kDamaged, "not a readable Paradox table: " + what);
}

bool KnownType(uint8_t type) {
  switch (static_cast<ParadoxType>(type)) {
    case ParadoxType::kAlpha:
    case ParadoxType::kDate:
    case ParadoxType::kShort:
    case ParadoxType::kLong:
    case ParadoxType::kCurrency:
    case ParadoxType::kNumber:
    case ParadoxType::kLogical:
    case ParadoxType::kMemo:
    case ParadoxType::kBlob:
    case ParadoxType::kFormattedMemo:
    case ParadoxType::kOle:
    case ParadoxType::kGraphic:
    case ParadoxType::kTime:
    case ParadoxType::kTimestamp:
    case ParadoxType::kAutoInc:
    case ParadoxType::kBcd:
    case ParadoxType::kBytes:
      return true;
  }
  return false;
}

// The bytes a value of `type` takes in the record when the field list gives
// it `size`; 0 when a field of that type cannot have that size.
uint16_t WidthOf(ParadoxType type, uint8_t size) {
  switch (type) {
    case ParadoxType::kLogical:
      return size == 1 ? size : 0;
    case ParadoxType::kShort:
      return size == 2 ? size : 0;
    case ParadoxType::kDate:
    case ParadoxType::kLong:
    case ParadoxType::kTime:
    case ParadoxType::kAutoInc:
      return size == 4 ? size : 0;
    case ParadoxType::kCurrency:
    case ParadoxType::kNumber:
    case ParadoxType::kTimestamp:
      return size == 8 ? size : 0;
    case ParadoxType::kBcd:
      return size <= 32 ? kBcdWidth : 0;  // the size is the digits after the point
    case ParadoxType::kMemo:
    case ParadoxType::kBlob:
    case ParadoxType::kFormattedMemo:
    case ParadoxType::kOle:
    case ParadoxType::kGraphic:
      return size >= kBlobPointerSize ? size : 0;  // a leader of the value, then its pointer
    default:
      return size;
  }
}

}  // namespace

uint16_t ParadoxHeaderSize(std::string_view first_bytes) {
  return first_bytes.size() < kHeaderSizeAt + 2 ? 0 : ParadoxWord(first_bytes, kHeaderSizeAt);
}

ParadoxHeader ParseParadoxHeader(std::string_view bytes, uint64_t file_size) {
  if (bytes.size() < kParadoxFixedHeaderSize) Damaged("the file is shorter than a header");
  ParadoxHeader header;
  header.record_size = ParadoxWord(bytes, kRecordSizeAt);
  header.header_size = ParadoxWord(bytes, kHeaderSizeAt);
  header.version = static_cast<uint8_t>(bytes[kVersionAt]);
  const auto file_type = static_cast<uint8_t>(bytes[kFileTypeAt]);
  const auto block_kilobytes = static_cast<uint8_t>(bytes[kBlockKilobytesAt]);
  header.block_size = block_kilobytes * 1024u;
  header.record_count = ParadoxLong(bytes, kRecordCountAt);
  header.first_block = ParadoxWord(bytes, kFirstBlockAt);
  const uint16_t field_count = ParadoxWord(bytes, kFieldCountAt);

  if (file_type != kKeyedTable && file_type != kUnkeyedTable)
    Damaged("the file is an index, not a table");
  if (header.version < 3 || header.version > kLastKnownVersion) Damaged("unknown version");
  if (header.header_size < kParadoxFixedHeaderSize || header.header_size > bytes.size() ||
      header.header_size > file_size) {
    Damaged("the header's size is wrong");
  }
  if (block_kilobytes == 0 || block_kilobytes > 32) Damaged("the block size is wrong");
  // A block holds a 6-byte head and at least one record.
  if (header.record_size == 0 || header.record_size + 6u > header.block_size)
    Damaged("the record size is wrong");
  if (field_count == 0) Damaged("the table has no field");

  const bool version4 = header.version >= kFirstVersion4;
  const uint32_t encryption1 = ParadoxLong(bytes, kEncryption1At);
  if (version4) {
    if (header.header_size < kFieldsAtVersion4) Damaged("the header's size is wrong");
    header.encrypted = ParadoxLong(bytes, kEncryption2At) != 0 ||
                       (encryption1 != 0 && encryption1 != kNoEncryptionMark);
    header.code_page = ParadoxWord(bytes, kCodePageAt);
  } else {
    header.encrypted = encryption1 != 0;
  }
  if (header.encrypted) {
    throw TableError(TableError::Kind::kPasswordProtected,
                     "the Paradox table is encrypted with a password");
  }

  // The header ends where data block 1 starts; nothing of it is read
  // beyond that.
  const std::string_view head = bytes.substr(0, header.header_size);
  size_t at = version4 ? kFieldsAtVersion4 : kFieldsAtVersion3;
  if (head.size() < at || (head.size() - at) / 2 < field_count)
    Damaged("the field list is cut short");
  uint32_t offset = 0;
  for (uint16_t i = 0; i < field_count; ++i, at += 2) {
    const auto type = static_cast<uint8_t>(head[at]);
    const auto size = static_cast<uint8_t>(head[at + 1]);
    if (!KnownType(type)) Damaged("a field has an unknown type");
    ParadoxField field;
    field.type = static_cast<ParadoxType>(type);
    field.size = size;
    field.width = WidthOf(field.type, size);
    field.offset = offset;
    if (field.width == 0) Damaged("a field's size does not suit its type");
    offset += field.width;
    header.fields.push_back(field);
  }
  if (offset > header.record_size) Damaged("the fields do not fit in a record");

  // Pointers kept by the program that wrote the file (the table name's and
  // one per field name), then the table name, then the field names, each
  // ended by a NUL.
  const size_t table_name_size = header.version >= kFirstVersion7 ? 261 : 79;
  at += 4 + 4 * size_t{field_count} + table_name_size;
  for (ParadoxField& field : header.fields) {
    if (at >= head.size()) Damaged("the field names are cut short");
    const size_t end = head.find('\0', at);
    if (end == std::string_view::npos) Damaged("the field names are cut short");
    field.name.assign(head.substr(at, end - at));
    at = end + 1;
  }
  return header;
}

}  // namespace ks::tables
