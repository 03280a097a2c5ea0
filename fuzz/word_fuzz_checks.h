// A check the Word reader targets share: their text must be valid UTF-8.
#pragma once

#include <string_view>

namespace ks::fuzz {

inline bool IsUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    size_t length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
    if (length == 0 || i + length > text.size()) return false;
    char32_t value = length == 1 ? c : c & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      value = value << 6 | (next & 0x3F);
    }
    if ((length == 2 && value < 0x80) || (length == 3 && value < 0x800) || (length == 4 && value < 0x10000) ||
        value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
      return false;
    }
    i += length;
  }
  return true;
}

}  // namespace ks::fuzz
