#include "core/charset_stream_decoder.h"

#include <cctype>
#include <cerrno>
#include <cstring>

namespace ks::core {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
// A character cut by the end of a piece is a few bytes; more held back
// than this is no character, and is read as undefined bytes instead.
constexpr size_t kLongestCutCharacter = 16;
// A stateful set's line is held back whole up to this length; a longer
// one is converted as it comes.
constexpr size_t kLongestHeldLine = 64 * 1024;

// True for the character sets whose decoder keeps a shift state between
// characters and finds broken sequences only once it sees what follows.
bool IsStateful(std::string_view iconv_name) {
  std::string letters;
  for (const char c : iconv_name) {
    if (std::isalnum(static_cast<unsigned char>(c))) {
      letters += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
  }
  return letters.find("UTF7") != std::string::npos || letters.find("2022") != std::string::npos;
}

}  // namespace

std::unique_ptr<CharsetStreamDecoder> CharsetStreamDecoder::For(std::string_view charset) {
  std::unique_ptr<CharsetStreamDecoder> decoder(new CharsetStreamDecoder());
  decoder->reading_ = decoder->converter_.ReadingOf(charset);
  if (decoder->reading_ == CharsetConverter::Reading::kUnknown) return nullptr;
  decoder->charset_ = std::string(charset);
  if (decoder->reading_ == CharsetConverter::Reading::kAscii) {
    decoder->undeclared_ = std::make_unique<UndeclaredTextDecoder>();
  }
  if (decoder->reading_ == CharsetConverter::Reading::kMultiByte) {
    const std::string iconv_name = decoder->converter_.IconvNameOf(charset);
    decoder->iconv_ = iconv_open("UTF-8", iconv_name.c_str());
    if (decoder->iconv_ == reinterpret_cast<iconv_t>(-1)) return nullptr;
    decoder->whole_lines_ = IsStateful(iconv_name);
  }
  return decoder;
}

CharsetStreamDecoder::~CharsetStreamDecoder() {
  if (iconv_ != reinterpret_cast<iconv_t>(-1)) iconv_close(iconv_);
}

void CharsetStreamDecoder::Append(std::string_view input, bool last, std::string& out) {
  if (undeclared_) {
    undeclared_->Append(input, last, out);
    return;
  }
  std::string joined;
  if (!carry_.empty()) {
    joined = std::move(carry_);
    joined.append(input);
    input = joined;
    carry_.clear();
  }
  switch (reading_) {
    case CharsetConverter::Reading::kUtf8:
      AppendUtf8(input, last, out);
      break;
    case CharsetConverter::Reading::kMultiByte:
      AppendIconv(input, last, out);
      break;
    default:
      // A byte stands for one character: every piece converts on its own.
      converter_.AppendDeclared(charset_, input, out);
      break;
  }
}

void CharsetStreamDecoder::AppendUtf8(std::string_view text, bool last, std::string& out) {
  const size_t tail = last ? 0 : UnfinishedUtf8Tail(text);
  const std::string_view whole = text.substr(0, text.size() - tail);
  if (IsValidUtf8(whole)) {
    out += whole;
  } else {
    converter_.AppendDeclared(charset_, whole, out);  // each broken byte becomes U+FFFD
  }
  carry_.assign(text.substr(whole.size()));
}

void CharsetStreamDecoder::AppendIconv(std::string_view text, bool last, std::string& out) {
  if (whole_lines_ && !last) {
    const size_t line_end = text.rfind('\n');
    const size_t whole = line_end == std::string_view::npos ? 0 : line_end + 1;
    if (text.size() - whole <= kLongestHeldLine) {
      carry_.assign(text.substr(whole));
      text = text.substr(0, whole);
    }
  }
  char* in = const_cast<char*>(text.data());
  size_t in_left = text.size();
  size_t used = out.size();
  out.resize(used + text.size() * 3 + 16);
  const auto room = [&](size_t need) {
    if (out.size() - used < need) out.resize(out.size() * 2 + need);
  };
  while (true) {
    char* to = out.data() + used;
    size_t out_left = out.size() - used;
    // Once the input is used up at the end, one more call ends a stateful
    // encoding (a shift back to ASCII).
    const bool flushing = in_left == 0;
    if (flushing && !last) break;
    const size_t result = flushing ? iconv(iconv_, nullptr, nullptr, &to, &out_left)
                                   : iconv(iconv_, &in, &in_left, &to, &out_left);
    const int error = errno;
    used = static_cast<size_t>(to - out.data());
    if (result != static_cast<size_t>(-1)) {
      if (flushing) break;
      continue;
    }
    if (error == E2BIG) {
      room(64);
    } else if (error == EINVAL && !last && in_left <= kLongestCutCharacter) {
      carry_.insert(0, in, in_left);  // a character cut by the end of the piece
      break;
    } else if ((error == EILSEQ || error == EINVAL) && in_left > 0) {
      room(kReplacement.size());
      std::memcpy(out.data() + used, kReplacement.data(), kReplacement.size());
      used += kReplacement.size();
      ++in;
      --in_left;
    } else {
      break;
    }
  }
  out.resize(used);
}

}  // namespace ks::core
