#include "json_text.h"

#include <fmt/format.h>

namespace ksimp {
namespace {

// Length of the valid UTF-8 sequence starting at s[i], 0 when there is none.
size_t Utf8SequenceLength(std::string_view s, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(i);
  size_t length;
  uint32_t min_code;
  uint32_t code;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, min_code = 0x80, code = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3, min_code = 0x800, code = lead & 0x0F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, min_code = 0x10000, code = lead & 0x07;
  } else {
    return 0;
  }
  if (i + length > s.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  if (code < min_code || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

}  // namespace

std::string JsonString(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += '"';
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const size_t length = Utf8SequenceLength(text, i);
      if (length == 0) {
        out += fmt::format("\\u{:04x}", c);
        ++i;
      } else {
        out.append(text.substr(i, length));
        i += length;
      }
      continue;
    }
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          out += fmt::format("\\u{:04x}", c);
        } else {
          out += static_cast<char>(c);
        }
    }
    ++i;
  }
  out += '"';
  return out;
}

}  // namespace ksimp
