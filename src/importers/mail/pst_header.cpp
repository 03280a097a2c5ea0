#include "importers/mail/pst_header.h"

#include <fmt/format.h>

namespace {

// Where the fields lie: both layouts start alike, then the ANSI one keeps
// 32-bit offsets and the Unicode one 64-bit ones.
constexpr size_t kClientOffset = 8;
constexpr size_t kVersionOffset = 10;
constexpr size_t kAnsiEndOfFile = 168;
constexpr size_t kAnsiNodeTree = 188;
constexpr size_t kAnsiBlockTree = 196;
constexpr size_t kAnsiEncryption = 461;
constexpr size_t kUnicodeEndOfFile = 184;
constexpr size_t kUnicodeNodeTree = 224;
constexpr size_t kUnicodeBlockTree = 240;
constexpr size_t kUnicodeEncryption = 513;

// Versions 14 and 15 are ANSI files, 23 Unicode ones; 36 is the Unicode
// layout with 4 KB pages, which libpff of this generation does not read.
constexpr uint16_t kFirstUnicodeVersion = 23;
constexpr uint16_t kFourKilobytePageVersion = 36;

// The page size of the B-trees: a root page must fit in the file.
constexpr uint64_t kAnsiPageSize = 512;
constexpr uint64_t kUnicodePageSize = 512;

uint64_t LittleEndian(std::string_view bytes, size_t offset, size_t width) {
  uint64_t value = 0;
  for (size_t i = 0; i < width; ++i) {
    value |= uint64_t{static_cast<unsigned char>(bytes[offset + i])} << (8 * i);
  }
  return value;
}

}  // namespace

std::optional<PstHeader> PstHeader::Read(std::string_view first_bytes) {
  if (first_bytes.size() < kBytesRead || first_bytes.substr(0, 4) != "!BDN") return std::nullopt;
  const std::string_view client = first_bytes.substr(kClientOffset, 2);
  // "SM" for personal folders, "SO" for offline folders; "AB" is an address book.
  if (client != "SM" && client != "SO") return std::nullopt;
  PstHeader header;
  header.version = static_cast<uint16_t>(LittleEndian(first_bytes, kVersionOffset, 2));
  header.unicode = header.version >= kFirstUnicodeVersion;
  if (header.unicode) {
    header.end_of_file = LittleEndian(first_bytes, kUnicodeEndOfFile, 8);
    header.node_tree = LittleEndian(first_bytes, kUnicodeNodeTree, 8);
    header.block_tree = LittleEndian(first_bytes, kUnicodeBlockTree, 8);
    header.encryption = static_cast<uint8_t>(first_bytes[kUnicodeEncryption]);
  } else {
    header.end_of_file = LittleEndian(first_bytes, kAnsiEndOfFile, 4);
    header.node_tree = LittleEndian(first_bytes, kAnsiNodeTree, 4);
    header.block_tree = LittleEndian(first_bytes, kAnsiBlockTree, 4);
    header.encryption = static_cast<uint8_t>(first_bytes[kAnsiEncryption]);
  }
  return header;
}

std::optional<std::string> PstHeader::Problem(uint64_t file_size) const {
  if (version < 14 || version == kFourKilobytePageVersion || version > kFourKilobytePageVersion) {
    return fmt::format("its format version {} is not one this library reads", version);
  }
  if (encryption > 2) return fmt::format("its encryption method {} is unknown", encryption);
  const uint64_t page = unicode ? kUnicodePageSize : kAnsiPageSize;
  const auto inside = [&](uint64_t offset) {
    return offset >= page && offset <= file_size && file_size - offset >= page;
  };
  if (!inside(node_tree) || !inside(block_tree)) {
    return IsCut(file_size) ? fmt::format("the file is cut short: it holds {} of its {} bytes, and "
                                          "its index lies in what is missing",
                                          file_size, end_of_file)
                            : std::string("its index points outside the file");
  }
  return std::nullopt;
}
