// Fuzzes Utf16Decoder, which turns the UTF-16 text of a source that opens
// with a byte-order mark into UTF-8, piece by piece as the source is read.
//
// Input: a byte for the byte order and the pieces, then the UTF-16 bytes.
//
// Checks: decoding in pieces of any size gives what decoding at once gives,
// whether the end comes with the last piece or with an empty one; both equal
// a plain decoding written here from the rules of utf16_decoder.h (every
// unit or pair that cannot be decoded, and an odd last byte, become U+FFFD).
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/utf16_decoder.h"
#include "fuzz_input.h"

namespace {

using ks::core::Utf16Decoder;

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

void AppendUtf8(uint32_t code_point, std::string& out) {
  if (code_point < 0x80) {
    out += static_cast<char>(code_point);
  } else if (code_point < 0x800) {
    out += static_cast<char>(0xC0 | code_point >> 6);
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  } else if (code_point < 0x10000) {
    out += static_cast<char>(0xE0 | code_point >> 12);
    out += static_cast<char>(0x80 | (code_point >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | code_point >> 18);
    out += static_cast<char>(0x80 | (code_point >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (code_point >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  }
}

std::string PlainDecoding(std::string_view in, bool little_endian) {
  const auto unit = [&](size_t at) -> uint32_t {
    const uint32_t first = static_cast<uint8_t>(in[at]);
    const uint32_t second = static_cast<uint8_t>(in[at + 1]);
    return little_endian ? (first | second << 8) : (first << 8 | second);
  };
  std::string out;
  size_t at = 0;
  while (at < in.size()) {
    if (in.size() - at < 2) {  // an odd last byte
      out += kReplacement;
      break;
    }
    const uint32_t u = unit(at);
    if (u < 0xD800 || u > 0xDFFF) {
      AppendUtf8(u, out);
      at += 2;
      continue;
    }
    if (u <= 0xDBFF && in.size() - at >= 4) {
      const uint32_t low = unit(at + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        AppendUtf8(0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00), out);
        at += 4;
        continue;
      }
    }
    out += kReplacement;  // a surrogate without its partner
    at += 2;
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const bool little_endian = (options & 1) != 0;
  const bool separate_end = (options & 2) != 0;
  const std::string_view text = in.Rest();
  const auto order =
      little_endian ? Utf16Decoder::ByteOrder::kLittleEndian : Utf16Decoder::ByteOrder::kBigEndian;

  std::string whole;
  Utf16Decoder(order).Append(text, true, whole);
  FUZZ_CHECK(whole == PlainDecoding(text, little_endian));

  Utf16Decoder decoder(order);
  ks::fuzz::PieceSizes pieces(options >> 2);
  std::string pieced;
  std::string_view rest = text;
  do {
    const std::string_view piece = rest.substr(0, pieces.Next());
    rest.remove_prefix(piece.size());
    decoder.Append(piece, rest.empty() && !separate_end, pieced);
  } while (!rest.empty());
  if (separate_end) decoder.Append({}, true, pieced);
  FUZZ_CHECK(pieced == whole);
  return 0;
}
