#include "importers/mail/mime_quoted_printable.h"

#include <cstring>

namespace ks::mail {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void AppendQuotedPrintableDecoded(std::string_view text, std::string& out) {
  out.reserve(out.size() + text.size());
  size_t at = 0;
  while (at < text.size()) {
    const void* found = std::memchr(text.data() + at, '=', text.size() - at);
    const size_t equals =
        found == nullptr ? text.size() : static_cast<size_t>(static_cast<const char*>(found) - text.data());
    out.append(text.data() + at, equals - at);
    if (equals == text.size()) break;
    const std::string_view rest = text.substr(equals + 1);
    if (rest.starts_with("\r\n")) {
      at = equals + 3;  // soft line break
    } else if (rest.starts_with("\n")) {
      at = equals + 2;
    } else if (rest.size() >= 2 && HexValue(rest[0]) >= 0 && HexValue(rest[1]) >= 0) {
      out += static_cast<char>(HexValue(rest[0]) * 16 + HexValue(rest[1]));
      at = equals + 3;
    } else {
      out += '=';
      at = equals + 1;
    }
  }
}

}  // namespace ks::mail
