#include "importers/tables/dbase_layout.h"

#include <fmt/format.h>

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

// dBase II: a fixed header of 8 bytes, 32 descriptors of 16 bytes and the
// end mark; records follow at once.
constexpr size_t kDbase2Header = 8 + 32 * 16 + 1;
// Field flags of Visual FoxPro.
constexpr uint8_t kFlagNullable = 0x02;
constexpr uint8_t kFlagBinary = 0x04;

uint16_t Le16(std::string_view s, size_t at) { return static_cast<uint16_t>(LittleEndian(s.data() + at, 2)); }
uint32_t Le32(std::string_view s, size_t at) { return static_cast<uint32_t>(LittleEndian(s.data() + at, 4)); }

[[noreturn]] void Damaged(const std::string& why) {
  throw TableError(TableError::Kind::kDamaged, "not a readable dBase or FoxPro table: " + why);
}

bool IsVisualFoxPro(uint8_t version) { return version == 0x30 || version == 0x31 || version == 0x32; }

// dBase 7 has a longer header and 48-byte field descriptors.
bool IsDbase7(uint8_t version) { return (version & 0x07) == 4; }

// Version bytes of the tables we read; anything else is not a table.
bool IsKnownVersion(uint8_t version) {
  switch (version & 0x07) {
    case 3:  // dBase III and IV, FoxBASE+, dBase IV SQL tables
    case 4:  // dBase 7
    case 5:  // FoxPro 2 (0xF5), dBase 5
      return true;
    default:
      return version == 0x02 || version == 0xFB || IsVisualFoxPro(version);
  }
}

// A version byte 0x02 is either dBase II or FoxBASE, which has the dBase III
// header: the dBase III reading of a dBase II header finds text where the
// header length would be.
bool IsDbase2(std::string_view fixed, uint64_t file_size) {
  if (static_cast<uint8_t>(fixed[0]) != 0x02) return false;
  if (fixed.size() < 12) return true;
  const uint16_t header_length = Le16(fixed, 8);
  return header_length < 65 || header_length > file_size || Le16(fixed, 10) == 0;
}

DbfValueKind KindOf(char type, uint8_t flags, bool visual_foxpro, bool dbase7) {
  if (dbase7) {
    switch (type) {
      case 'I':
      case '+': return DbfValueKind::kSortableInteger;
      case 'O': return DbfValueKind::kSortableDouble;
      case '@': return DbfValueKind::kBinaryMemo;  // a timestamp of its own kind, left out
      default: break;
    }
  }
  switch (type) {
    case 'C': return DbfValueKind::kText;
    case 'V': return DbfValueKind::kVarText;
    case 'N':
    case 'F': return DbfValueKind::kNumber;
    case 'D': return DbfValueKind::kDate;
    case 'L': return DbfValueKind::kLogical;
    case 'M': return visual_foxpro && (flags & kFlagBinary) != 0 ? DbfValueKind::kBinaryMemo : DbfValueKind::kMemo;
    case 'B': return visual_foxpro ? DbfValueKind::kDouble : DbfValueKind::kBinaryMemo;
    case 'G':
    case 'P':
    case 'W':
    case 'Q': return DbfValueKind::kBinaryMemo;
    case 'I':
    case '+': return DbfValueKind::kInteger;
    case 'Y': return DbfValueKind::kCurrency;
    case 'T': return DbfValueKind::kDateTime;
    case 'O': return DbfValueKind::kDouble;
    case '0': return DbfValueKind::kHidden;
    default: return DbfValueKind::kText;  // an unknown type: its bytes as text
  }
}

// The fixed length a binary field must have; 0 when any length does.
uint32_t RequiredLength(DbfValueKind kind) {
  switch (kind) {
    case DbfValueKind::kInteger:
    case DbfValueKind::kSortableInteger: return 4;
    case DbfValueKind::kSortableDouble:
    case DbfValueKind::kCurrency:
    case DbfValueKind::kDateTime:
    case DbfValueKind::kDouble: return 8;
    default: return 0;
  }
}

std::string NameOf(std::string_view bytes) {
  return std::string(bytes.substr(0, std::min(bytes.find('\0'), bytes.size())));
}

void ReadDbase2Fields(std::string_view header, DbfLayout& layout) {
  uint32_t offset = 1;
  for (size_t at = 8; at + 16 <= header.size() && header[at] != '\r'; at += 16) {
    DbfField field;
    field.raw_name = NameOf(header.substr(at, 11));
    field.type = header[at + 11];
    field.length = static_cast<uint8_t>(header[at + 12]);
    field.decimals = static_cast<uint8_t>(header[at + 15]);
    field.kind = KindOf(field.type, 0, false, false);
    field.offset = offset;
    offset += field.length;
    layout.fields.push_back(std::move(field));
  }
}

void ReadFields(std::string_view header, size_t first, size_t size, DbfLayout& layout) {
  const bool dbase7 = IsDbase7(layout.version);
  const size_t name_length = dbase7 ? 32 : 11;
  uint32_t offset = 1;
  size_t at = first;
  for (; at < header.size() && header[at] != '\r'; at += size) {
    if (at + size > header.size()) Damaged("its field descriptors run past the end of its header");
    DbfField field;
    field.raw_name = NameOf(header.substr(at, name_length));
    field.type = header[at + name_length];
    field.length = static_cast<uint8_t>(header[at + name_length + 5 - (dbase7 ? 4 : 0)]);
    field.decimals = static_cast<uint8_t>(header[at + name_length + 6 - (dbase7 ? 4 : 0)]);
    field.flags = layout.visual_foxpro ? static_cast<uint8_t>(header[at + 18]) : 0;
    field.kind = KindOf(field.type, field.flags, layout.visual_foxpro, dbase7);
    if (field.type == 'C') {
      // FoxPro and Clipper keep the high byte of a long text's length there.
      field.length |= static_cast<uint32_t>(field.decimals) << 8;
      field.decimals = 0;
    }
    field.offset = offset;
    offset += field.length;
    layout.fields.push_back(std::move(field));
  }
}

}  // namespace

size_t DbfHeaderLength(std::string_view fixed, uint64_t file_size) {
  if (fixed.size() < 32) Damaged(fmt::format("the file holds only {} bytes", fixed.size()));
  const auto version = static_cast<uint8_t>(fixed[0]);
  if (!IsKnownVersion(version)) Damaged(fmt::format("its first byte 0x{:02X} names no table version", version));
  if (IsDbase2(fixed, file_size)) return kDbase2Header;
  const uint16_t header_length = Le16(fixed, 8);
  if (header_length > file_size) {
    Damaged(fmt::format("its header length {} is beyond the end of the file ({} bytes)", header_length, file_size));
  }
  if (header_length < 33) Damaged(fmt::format("its header length {} is too short", header_length));
  return header_length;
}

DbfLayout ReadDbfLayout(std::string_view header, uint64_t file_size) {
  const size_t header_length = DbfHeaderLength(header, file_size);
  if (header.size() < header_length) Damaged("its header is cut short");
  header = header.substr(0, header_length);
  DbfLayout layout;
  layout.version = static_cast<uint8_t>(header[0]);
  layout.visual_foxpro = IsVisualFoxPro(layout.version);
  if (IsDbase2(header, file_size)) {
    layout.record_count = Le16(header, 1);
    layout.record_length = Le16(header, 6);
    layout.first_record = kDbase2Header;
    ReadDbase2Fields(header, layout);
  } else {
    layout.record_count = Le32(header, 4);
    layout.record_length = Le16(header, 10);
    layout.first_record = header_length;
    layout.code_page = std::string(CodePageOfLanguageDriver(static_cast<uint8_t>(header[29])));
    if (IsDbase7(layout.version)) {
      if (header_length < kDbfFixedHeader + 1) Damaged("its dBase 7 header is too short");
      ReadFields(header, kDbfFixedHeader, 48, layout);
    } else {
      ReadFields(header, 32, 32, layout);
    }
  }
  if (layout.record_length == 0) Damaged("its record length is 0");
  if (layout.fields.empty()) Damaged("it has no fields");
  int next_bit = 0;
  bool memo = false;
  for (size_t i = 0; i < layout.fields.size(); ++i) {
    DbfField& field = layout.fields[i];
    if (uint64_t{field.offset} + field.length > layout.record_length) {
      Damaged(fmt::format("its fields need {} bytes but its records have {}",
                          uint64_t{field.offset} + field.length, layout.record_length));
    }
    const uint32_t required = RequiredLength(field.kind);
    if (required != 0 && field.length != required) field.kind = DbfValueKind::kText;
    if (field.kind == DbfValueKind::kHidden) {
      if (layout.null_flags < 0) layout.null_flags = static_cast<int>(i);
      continue;
    }
    if (layout.visual_foxpro) {
      // _NullFlags gives each field its bits in field order: first, for a
      // varchar or varbinary, the bit set when the value is shorter than its
      // field; then, for a nullable field, its null bit.
      if (field.type == 'V' || field.type == 'Q') field.length_bit = next_bit++;
      if ((field.flags & kFlagNullable) != 0) field.null_bit = next_bit++;
    }
    memo = memo || field.kind == DbfValueKind::kMemo ||
           (field.kind == DbfValueKind::kBinaryMemo && field.type != 'Q' && field.type != '@');
  }
  if (layout.null_flags >= 0 &&
      uint64_t{layout.fields[static_cast<size_t>(layout.null_flags)].length} * 8 < static_cast<uint64_t>(next_bit)) {
    Damaged("its _NullFlags field is too short for its nullable fields");
  }
  if (memo) {
    if (layout.visual_foxpro || (layout.version & 0x07) == 5 || layout.version == 0xFB) {
      layout.memo_style = DbfMemoStyle::kFoxPro;
    } else {
      layout.memo_style = layout.version == 0x83 ? DbfMemoStyle::kDbase3 : DbfMemoStyle::kDbase4;
    }
  }
  return layout;
}

std::string_view CodePageOfLanguageDriver(uint8_t id) {
  switch (id) {
    case 0x01: case 0x09: case 0x0B: case 0x0D: case 0x0F: case 0x11:
    case 0x15: case 0x18: case 0x19: case 0x1B: return "CP437";
    case 0x02: case 0x0A: case 0x0E: case 0x10: case 0x12: case 0x14:
    case 0x16: case 0x1A: case 0x1D: case 0x25: case 0x37: return "CP850";
    case 0x03: case 0x57: case 0x58: case 0x59: return "WINDOWS-1252";
    case 0x04: return "MACINTOSH";
    case 0x08: case 0x17: case 0x66: return "CP865";
    case 0x13: case 0x7B: return "CP932";
    case 0x1C: return "CP863";
    case 0x1F: case 0x22: case 0x23: case 0x40: case 0x64: return "CP852";
    case 0x24: return "CP860";
    case 0x26: case 0x65: return "CP866";
    case 0x4D: case 0x7A: return "CP936";
    case 0x4E: case 0x79: return "CP949";
    case 0x4F: case 0x78: return "CP950";
    case 0x50: case 0x7C: return "CP874";
    case 0x67: return "CP861";
    case 0x6A: return "CP737";
    case 0x6B: return "CP857";
    case 0x7D: return "WINDOWS-1255";
    case 0x7E: return "WINDOWS-1256";
    case 0x96: return "MAC-CYRILLIC";
    case 0x97: return "MAC-CENTRALEUROPE";
    case 0xC8: return "WINDOWS-1250";
    case 0xC9: return "WINDOWS-1251";
    case 0xCA: return "WINDOWS-1254";
    case 0xCB: return "WINDOWS-1253";
    default: return {};
  }
}

}  // namespace ks::tables
