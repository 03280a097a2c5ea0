// Fuzzes what MIME decoding is made of: Base64Coder (the decoder and its MIME
// wrapper), quoted-printable bodies, encoded words in header values, and the
// character set converter.
//
// Input: a byte that chooses a character set name from a list (or, when
// its value is past the list, takes the name from the input: a length byte
// and that many bytes), then the text.
//
// Checks: the decoder gives three bytes for every four characters begun,
// and a text of alphabet characters decodes the same with their high bits
// set; the MIME wrapper gives at most three bytes for four characters and
// the same bytes for the text with line ends added every 76 characters;
// quoted-printable never grows the text, and text without "=" comes back as
// it is; header values, declared text and undeclared text all come out as
// valid UTF-8; undeclared text that is valid UTF-8 comes back as it is, and
// undeclared text made of lines that are each valid UTF-8 or not is judged
// line by line.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/mail/base64_coder.h"
#include "importers/mail/mime_encoded_words.h"
#include "importers/mail/mime_quoted_printable.h"

namespace {

using ks::core::CharsetConverter;
using ks::core::IsValidUtf8;
using ks::mail::Base64Coder;

constexpr std::string_view kCharsets[] = {
    "utf-8",      "us-ascii",     "iso-8859-1", "windows-1252", "koi8-r",       "shift_jis",
    "iso-2022-jp", "big5",        "gb2312",     "utf-7",        "utf-16",       "euc-kr",
    "iso-8859-5", "x-unknown",    "",           "ks_c_5601-1987", "windows-1251", "macintosh"};

void CheckBase64(std::string_view text) {
  const std::string decoded = Base64Coder::Decode(text);
  FUZZ_CHECK(decoded.size() == (text.size() + 3) / 4 * 3);
  std::string high(text);
  bool alphabet_only = true;
  for (char& c : high) {
    if (Base64Coder::Table()[static_cast<unsigned char>(c)] >= 64) alphabet_only = false;
    c = static_cast<char>(static_cast<unsigned char>(c) | 0x80);
  }
  if (alphabet_only) FUZZ_CHECK(Base64Coder::Decode(high) == decoded);

  const std::string mime = Base64Coder::DecodeMime(text);
  FUZZ_CHECK(mime.size() * 4 <= text.size() * 3);
  std::string wrapped;
  for (size_t at = 0; at < text.size(); at += 76) wrapped.append(text.substr(at, 76)).append("\r\n");
  FUZZ_CHECK(Base64Coder::DecodeMime(wrapped) == mime);
}

void CheckQuotedPrintable(std::string_view text) {
  const std::string decoded = ks::mail::DecodeQuotedPrintable(text);
  FUZZ_CHECK(decoded.size() <= text.size());
  if (text.find('=') == std::string_view::npos) FUZZ_CHECK(decoded == text);
}

void CheckConverter(std::string_view charset, std::string_view text) {
  CharsetConverter& converter = CharsetConverter::ForThisThread();
  const std::string header = ks::mail::DecodeHeaderValue(text, converter);
  FUZZ_CHECK(IsValidUtf8(header));
  FUZZ_CHECK(IsValidUtf8(converter.ToUtf8(charset, text)));
  std::string undeclared;
  converter.AppendUndeclared(text, undeclared, charset.empty() ? "WINDOWS-1252" : charset);
  FUZZ_CHECK(IsValidUtf8(undeclared));
  if (IsValidUtf8(text)) {
    FUZZ_CHECK(undeclared == text);
  } else {
    // Each line on its own gives what it gives within the whole.
    std::string by_line;
    for (std::string_view rest = text; !rest.empty();) {
      const size_t end = rest.find('\n');
      const std::string_view line = rest.substr(0, end == std::string_view::npos ? rest.size() : end + 1);
      converter.AppendUndeclared(line, by_line, charset.empty() ? "WINDOWS-1252" : charset);
      rest.remove_prefix(line.size());
    }
    FUZZ_CHECK(by_line == undeclared);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const size_t choice = in.Byte();
  constexpr size_t kCount = sizeof kCharsets / sizeof kCharsets[0];
  const std::string charset(choice < kCount ? kCharsets[choice % kCount] : in.ShortText(40));
  const std::string_view text = in.Rest();
  CheckBase64(text);
  CheckQuotedPrintable(text);
  CheckConverter(charset, text);
  return 0;
}
