// Fuzzes RtfPlainText (importers/mail/rtf_plain_text.*), which reduces the
// rich text body of an Outlook message to the text a reader sees.
//
// Input: the whole input is the rich text.
//
// Checks: the text is valid UTF-8 and holds no NUL; every line end is
// CR LF; it neither starts nor ends with blanks or line ends; text without
// a backslash or a brace (no markup at all) comes out as itself, trimmed,
// its line ends and other control characters dropped as the format drops
// them.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/mail/rtf_plain_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view rtf(reinterpret_cast<const char*>(data), size);
  const std::string text = RtfPlainText(rtf);
  FUZZ_CHECK(ks::core::IsValidUtf8(text));
  FUZZ_CHECK(text.find('\0') == std::string::npos);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') FUZZ_CHECK(i + 1 < text.size() && text[i + 1] == '\n');
    if (text[i] == '\n') FUZZ_CHECK(i > 0 && text[i - 1] == '\r');
  }
  if (!text.empty()) {
    FUZZ_CHECK(std::string_view(" \t\r\n").find(text.front()) == std::string_view::npos);
    FUZZ_CHECK(std::string_view(" \t\r\n").find(text.back()) == std::string_view::npos);
  }
  if (rtf.find_first_of("\\{}") == std::string_view::npos && ks::core::IsAscii(rtf) &&
      rtf.find('\0') == std::string_view::npos) {
    std::string plain;
    for (const char c : rtf) {
      if (static_cast<unsigned char>(c) >= 0x20 || c == '\t') plain += c;
    }
    const size_t first = plain.find_first_not_of(" \t");
    const size_t last = plain.find_last_not_of(" \t");
    plain = first == std::string::npos ? "" : plain.substr(first, last - first + 1);
    FUZZ_CHECK(text == plain);
  }
  return 0;
}
