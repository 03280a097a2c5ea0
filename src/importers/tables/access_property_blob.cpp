#include "importers/tables/access_property_blob.h"

#include <cstdint>
#include <cstddef>

#include "importers/tables/access_values.h"

namespace ks::tables::access {
namespace {

// libmdb's numbers for the types of property values (mdbtools.h).
enum : int {
  kBool = 0x01, kByte = 0x02, kInt = 0x03, kLongInt = 0x04, kFloat = 0x06, kDouble = 0x07,
  kDateTime = 0x08, kBinary = 0x09, kText = 0x0a, kOle = 0x0b, kMemo = 0x0c, kComplex = 0x12,
};

uint32_t Number(std::string_view bytes, size_t at, size_t size) {
  return static_cast<uint32_t>(LittleEndian(bytes, at, size));
}

// The bytes libmdb reads for a property of type `type` beside its size.
bool PropertyFits(int type, uint32_t size) {
  switch (type) {
    case kBool:
    case kByte:
      return size >= 1;
    case kInt:
      return size >= 2;
    case kLongInt:
    case kComplex:
    case kFloat:
      return size >= 4;
    case kDouble:
    case kDateTime:
      return size >= 8;
    case kText:
    case kMemo:
    case kBinary:
    case kOle:
      return true;
    default:
      // Currency, decimal and GUID values libmdb reads from its page
      // buffer instead of the blob; no property of a real file has them.
      return false;
  }
}

// A list of names: each a 16-bit length and that many bytes.
bool NamesFit(std::string_view block, size_t& count) {
  count = 0;
  for (size_t at = 0; at < block.size(); ++count) {
    if (block.size() - at < 2) return false;
    const uint32_t length = Number(block, at, 2);
    at += 2;
    if (length > block.size() - at) return false;
    at += length;
  }
  return true;
}

// A block of properties: its name, then entries of a 16-bit length, the
// type, the name's number and the value's size.  libmdb stops at an entry
// naming no name or reaching past the block.
bool PropertiesFit(std::string_view block, size_t names) {
  if (block.size() < 6) return false;
  size_t at = 6 + Number(block, 4, 2);
  if (at > block.size()) return false;
  while (at < block.size()) {
    if (block.size() - at < 8) return false;
    const uint32_t length = Number(block, at, 2);
    const int type = static_cast<unsigned char>(block[at + 3]);
    const uint32_t size = Number(block, at + 6, 2);
    if (Number(block, at + 4, 2) >= names || at + 8 + size > block.size()) return true;
    if (length < 8 || !PropertyFits(type, size)) return false;
    at += length;
  }
  return true;
}

}  // namespace

bool IsSafePropertyBlob(std::string_view blob) {
  if (blob.size() < 4 || (blob.substr(0, 4) != std::string_view("KKD\0", 4) &&
                          blob.substr(0, 4) != std::string_view("MR2\0", 4))) {
    return false;
  }
  bool have_names = false;
  size_t names = 0;
  for (size_t at = 4; at < blob.size();) {
    if (blob.size() - at < 6) return false;
    const uint32_t length = Number(blob, at, 4);
    const uint32_t type = Number(blob, at + 4, 2);
    if (length < 6 || length > blob.size() - at) return false;
    const std::string_view block = blob.substr(at + 6, length - 6);
    if (type == 0x80) {
      have_names = NamesFit(block, names);
      if (!have_names) return false;
    } else if (type > 2 || !have_names || !PropertiesFit(block, names)) {
      return false;
    }
    at += length;
  }
  return true;
}

}  // namespace ks::tables::access
