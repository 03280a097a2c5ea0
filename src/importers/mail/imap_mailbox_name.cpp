#include "importers/mail/imap_mailbox_name.h"

#include <cstdint>
#include <vector>

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

bool IsPrintable(unsigned char c) { return c >= 0x20 && c <= 0x7E; }

int ValueOf(char c) {
  const size_t at = kAlphabet.find(c);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// The code points of UTF-8 `text`; nothing for an ill-formed sequence (an
// overlong form, a surrogate, beyond U+10FFFF, cut short).
std::optional<std::vector<char32_t>> CodePoints(std::string_view text) {
  std::vector<char32_t> points;
  for (size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = 0;
    char32_t point = 0;
    char32_t least = 0;
    if (lead < 0x80) {
      length = 1;
      point = lead;
    } else if ((lead & 0xE0) == 0xC0) {
      length = 2;
      point = lead & 0x1F;
      least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3;
      point = lead & 0x0F;
      least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4;
      point = lead & 0x07;
      least = 0x10000;
    } else {
      return std::nullopt;
    }
    if (length > text.size() - i) return std::nullopt;
    for (size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      point = point << 6 | (next & 0x3F);
    }
    if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
      return std::nullopt;
    }
    points.push_back(point);
    i += length;
  }
  return points;
}

void AppendUtf8(char32_t point, std::string* out) {
  if (point < 0x80) {
    *out += static_cast<char>(point);
  } else if (point < 0x800) {
    *out += static_cast<char>(0xC0 | point >> 6);
    *out += static_cast<char>(0x80 | (point & 0x3F));
  } else if (point < 0x10000) {
    *out += static_cast<char>(0xE0 | point >> 12);
    *out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
    *out += static_cast<char>(0x80 | (point & 0x3F));
  } else {
    *out += static_cast<char>(0xF0 | point >> 18);
    *out += static_cast<char>(0x80 | (point >> 12 & 0x3F));
    *out += static_cast<char>(0x80 | (point >> 6 & 0x3F));
    *out += static_cast<char>(0x80 | (point & 0x3F));
  }
}

// Writes UTF-16 units as one Base64 run, "&" to "-".
void AppendRun(const std::vector<char16_t>& units, std::string* out) {
  *out += '&';
  uint32_t bits = 0;
  int count = 0;
  for (const char16_t unit : units) {
    bits = bits << 16 | unit;
    count += 16;
    while (count >= 6) {
      count -= 6;
      *out += kAlphabet[bits >> count & 0x3F];
    }
    bits &= (1u << count) - 1;
  }
  if (count > 0) *out += kAlphabet[bits << (6 - count) & 0x3F];
  *out += '-';
}

// The UTF-16 units of one Base64 run (without its "&" and "-"); nothing
// when its bits make no whole units, or what is left over is not zero.
std::optional<std::vector<char16_t>> RunUnits(std::string_view run) {
  std::vector<char16_t> units;
  uint32_t bits = 0;
  int count = 0;
  for (const char c : run) {
    const int value = ValueOf(c);
    if (value < 0) return std::nullopt;
    bits = bits << 6 | static_cast<uint32_t>(value);
    count += 6;
    if (count >= 16) {
      count -= 16;
      units.push_back(static_cast<char16_t>(bits >> count));
      bits &= (1u << count) - 1;
    }
  }
  if (count >= 6 || bits != 0) return std::nullopt;
  return units;
}

}  // namespace

std::optional<std::string> EncodeImapMailboxName(std::string_view name) {
  const std::optional<std::vector<char32_t>> points = CodePoints(name);
  if (!points) return std::nullopt;
  std::string encoded;
  std::vector<char16_t> run;
  for (const char32_t point : *points) {
    if (point < 0x80 && IsPrintable(static_cast<unsigned char>(point))) {
      if (!run.empty()) {
        AppendRun(run, &encoded);
        run.clear();
      }
      encoded += static_cast<char>(point);
      if (point == '&') encoded += '-';
      continue;
    }
    if (point >= 0x10000) {
      const char32_t rest = point - 0x10000;
      run.push_back(static_cast<char16_t>(0xD800 + (rest >> 10)));
      run.push_back(static_cast<char16_t>(0xDC00 + (rest & 0x3FF)));
    } else {
      run.push_back(static_cast<char16_t>(point));
    }
  }
  if (!run.empty()) AppendRun(run, &encoded);
  return encoded;
}

std::optional<std::string> DecodeImapMailboxName(std::string_view encoded) {
  std::string name;
  for (size_t i = 0; i < encoded.size();) {
    const char c = encoded[i];
    if (!IsPrintable(static_cast<unsigned char>(c))) return std::nullopt;
    if (c != '&') {
      name += c;
      ++i;
      continue;
    }
    const size_t end = encoded.find('-', i + 1);
    if (end == std::string_view::npos) return std::nullopt;
    if (end == i + 1) {
      name += '&';
      i = end + 1;
      continue;
    }
    const std::optional<std::vector<char16_t>> units = RunUnits(encoded.substr(i + 1, end - i - 1));
    if (!units) return std::nullopt;
    for (size_t k = 0; k < units->size(); ++k) {
      const char16_t unit = (*units)[k];
      if (unit >= 0xD800 && unit <= 0xDBFF) {
        if (k + 1 >= units->size()) return std::nullopt;
        const char16_t low = (*units)[++k];
        if (low < 0xDC00 || low > 0xDFFF) return std::nullopt;
        AppendUtf8(0x10000 + ((char32_t{unit} - 0xD800) << 10) + (low - 0xDC00), &name);
      } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
        return std::nullopt;
      } else {
        AppendUtf8(unit, &name);
      }
    }
    i = end + 1;
  }
  return name;
}

std::string ImapMailboxDisplayName(std::string_view encoded) {
  return DecodeImapMailboxName(encoded).value_or(std::string(encoded));
}
