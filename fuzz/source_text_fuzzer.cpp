// Fuzzes the decoders the import frame reads text sources through, before
// anything splits them: UndeclaredTextDecoder (the ANSI rule, line by line),
// CharsetStreamDecoder (a named character set) and RichTextEscaper (rich
// text's raw bytes as escapes).
//
// Input: a mode byte (which decoder; for the ANSI rule, how long a line may
// grow before it is judged in parts), a character set from a list or from
// the input (a length byte and that many bytes), a piece seed; then the
// text.
//
// Checks: the output is valid UTF-8, and the same whether the text comes in
// pieces of any size or at once, with the end on the last piece or on an
// empty one; no more is held back than was given.  The ANSI rule keeps
// valid UTF-8 as it is and otherwise gives what the converter gives for
// each line on its own (when no line outgrows the limit).  Rich text comes
// out as ASCII, and without \bin and without a backslash before a raw byte
// it is the input with each raw byte written as \'xx.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "core/charset_stream_decoder.h"
#include "core/rich_text_escaper.h"
#include "core/undeclared_text_decoder.h"
#include "fuzz_input.h"

namespace {

using ks::core::CharsetConverter;
using ks::core::IsValidUtf8;
using ks::core::TextDecoder;

constexpr std::string_view kCharsets[] = {
    "WINDOWS-1252", "utf-8",  "koi8-r",    "shift_jis", "iso-2022-jp", "utf-16le", "utf-16",
    "big5",         "gb2312", "utf-7",     "euc-kr",    "cp437",       "cp850",    "windows-1251",
    "macintosh",    "ascii",  "x-unknown", "UTF-32BE",  "euc-jp",      "cp932"};

enum class Mode { kUndeclared, kCharset, kRichText };

std::unique_ptr<TextDecoder> Make(Mode mode, const std::string& charset, size_t longest_line) {
  switch (mode) {
    case Mode::kUndeclared:
      return std::make_unique<ks::core::UndeclaredTextDecoder>(charset, longest_line);
    case Mode::kCharset:
      return ks::core::CharsetStreamDecoder::For(charset);
    case Mode::kRichText:
      return std::make_unique<ks::core::RichTextEscaper>();
  }
  return nullptr;
}

// The ANSI rule applied to each line of `text` (cut after CR or LF) alone.
std::string ByLine(std::string_view text, const std::string& code_page) {
  CharsetConverter converter;
  std::string out;
  while (!text.empty()) {
    const size_t end = text.find_first_of("\r\n");
    const std::string_view line =
        text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
    text.remove_prefix(line.size());
    if (IsValidUtf8(line)) {
      out += line;
    } else {
      converter.AppendUndeclared(line, out, code_page);
    }
  }
  return out;
}

size_t LongestLine(std::string_view text) {
  size_t longest = 0;
  while (!text.empty()) {
    const size_t end = text.find_first_of("\r\n");
    longest = std::max(longest, end == std::string_view::npos ? text.size() : end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return longest;
}

std::string Escaped(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;
    } else {
      out += "\\'";
      out += kHex[byte >> 4];
      out += kHex[byte & 0x0F];
    }
  }
  return out;
}

bool BackslashBeforeARawByte(std::string_view text) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '\\' && static_cast<unsigned char>(text[i + 1]) >= 0x80) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const auto mode = static_cast<Mode>(options % 3);
  const size_t longest_line = 1 + (options >> 2) % 64;
  const size_t choice = in.Byte();
  constexpr size_t kCount = sizeof kCharsets / sizeof kCharsets[0];
  const std::string charset(choice < kCount ? kCharsets[choice] : in.ShortText(40));
  const uint8_t seed = in.Byte();
  const bool separate_end = (seed & 1) != 0;
  const std::string_view text = in.Rest();

  std::unique_ptr<TextDecoder> whole_decoder = Make(mode, charset, longest_line);
  if (!whole_decoder) {
    FUZZ_CHECK(mode == Mode::kCharset && !CharsetConverter().Knows(charset));
    return 0;
  }
  std::string whole;
  whole_decoder->Append(text, true, whole);
  FUZZ_CHECK(whole_decoder->HeldBack() == 0);
  FUZZ_CHECK(IsValidUtf8(whole));

  std::unique_ptr<TextDecoder> piece_decoder = Make(mode, charset, longest_line);
  ks::fuzz::PieceSizes pieces(seed >> 1);
  std::string pieced;
  size_t given = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view piece = rest.substr(0, pieces.Next());
    rest.remove_prefix(piece.size());
    given += piece.size();
    piece_decoder->Append(piece, rest.empty() && !separate_end, pieced);
    FUZZ_CHECK(piece_decoder->HeldBack() <= given);
  }
  if (separate_end || text.empty()) piece_decoder->Append({}, true, pieced);
  FUZZ_CHECK(pieced == whole);

  switch (mode) {
    case Mode::kUndeclared:
      if (IsValidUtf8(text)) {
        FUZZ_CHECK(whole == text);
      } else if (LongestLine(text) < longest_line) {
        FUZZ_CHECK(whole == ByLine(text, charset));
      }
      break;
    case Mode::kRichText:
      FUZZ_CHECK(ks::core::IsAscii(whole));
      if (text.find("\\bin") == std::string_view::npos && !BackslashBeforeARawByte(text)) {
        FUZZ_CHECK(whole == Escaped(text));
      }
      break;
    case Mode::kCharset:
      break;
  }
  return 0;
}
