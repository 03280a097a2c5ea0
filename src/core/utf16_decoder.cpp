#include "core/utf16_decoder.h"

#include <cerrno>
#include <stdexcept>

namespace ks::core {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

}  // namespace

Utf16Decoder::Utf16Decoder(ByteOrder order)
    : converter_(iconv_open("UTF-8", order == ByteOrder::kLittleEndian ? "UTF-16LE" : "UTF-16BE")) {
  if (converter_ == reinterpret_cast<iconv_t>(-1)) {
    throw std::runtime_error("this system cannot convert UTF-16 text");
  }
}

Utf16Decoder::~Utf16Decoder() {
  iconv_close(converter_);
}

void Utf16Decoder::Append(std::string_view input, bool last, std::string& out) {
  std::string joined;
  if (!carry_.empty()) {
    joined = carry_ + std::string(input);
    input = joined;
    carry_.clear();
  }
  char* in = const_cast<char*>(input.data());
  size_t in_left = input.size();
  while (in_left > 0) {
    // Every two bytes of UTF-16 give at most three of UTF-8 (a pair of four
    // bytes gives four).
    const size_t start = out.size();
    const size_t room = in_left / 2 * 3 + 4;
    out.resize(start + room);
    char* to = out.data() + start;
    size_t to_left = room;
    const size_t result = iconv(converter_, &in, &in_left, &to, &to_left);
    out.resize(out.size() - to_left);
    if (result != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) continue;
    if (errno == EINVAL && !last) {
      // Cut at the end of the piece: the rest waits for the next one.
      carry_.assign(in, in_left);
      return;
    }
    // Undecodable here (EILSEQ), or cut at the very end of the input: one
    // unit is replaced and decoding goes on after it.
    out.append(kReplacement);
    const size_t skip = in_left >= 2 ? 2 : in_left;
    in += skip;
    in_left -= skip;
  }
}

}  // namespace ks::core
