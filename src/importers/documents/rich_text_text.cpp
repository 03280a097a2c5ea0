#include "importers/documents/rich_text_text.h"

#include <fmt/format.h>

#include <cstdint>

namespace ks::documents {
namespace {

// The length of the UTF-8 sequence starting at text[at] and its code
// point; 0 when no valid sequence starts there.
size_t DecodeUtf8(std::string_view text, size_t at, uint32_t* code_point) {
  const auto lead = static_cast<unsigned char>(text[at]);
  size_t length = 0;
  uint32_t value = 0;
  uint32_t smallest = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, value = lead & 0x1F, smallest = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3, value = lead & 0x0F, smallest = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, value = lead & 0x07, smallest = 0x10000;
  } else {
    return 0;
  }
  if (at + length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[at + i]);
    if ((next & 0xC0) != 0x80) return 0;
    value = (value << 6) | (next & 0x3F);
  }
  if (value < smallest || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
  *code_point = value;
  return length;
}

void AppendUnit(std::string& out, uint32_t unit) {
  out += fmt::format("\\u{}?", static_cast<int16_t>(static_cast<uint16_t>(unit)));
}

}  // namespace

void AppendRichText(std::string& out, std::string_view utf8, Hyphens hyphens) {
  for (size_t at = 0; at < utf8.size();) {
    const char c = utf8[at];
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      if (c == '\\' || c == '{' || c == '}') {
        out += '\\';
        out += c;
      } else if (c == '-' && hyphens == Hyphens::kNonBreaking) {
        out += "\\_";
      } else if (byte < 0x20) {
        out += fmt::format("\\'{:02x}", byte);
      } else {
        out += c;
      }
      ++at;
      continue;
    }
    uint32_t code_point = 0;
    const size_t length = DecodeUtf8(utf8, at, &code_point);
    if (length == 0) {
      out += fmt::format("\\'{:02x}", byte);
      ++at;
      continue;
    }
    if (code_point >= 0x10000) {
      const uint32_t offset = code_point - 0x10000;
      AppendUnit(out, 0xD800 + (offset >> 10));
      AppendUnit(out, 0xDC00 + (offset & 0x3FF));
    } else {
      AppendUnit(out, code_point);
    }
    at += length;
  }
}

}  // namespace ks::documents
