#include "core/rich_text_escaper.h"

namespace ks::core {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";
// A number longer than this is not one a control word takes; it stops
// growing (RTF numbers are 16 or 32 bits).
constexpr uint64_t kLargestNumber = uint64_t{1} << 40;

bool IsLetter(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}

void AppendHex(unsigned char c, std::string& out) {
  out += kHexDigits[c >> 4];
  out += kHexDigits[c & 0x0F];
}

}  // namespace

void RichTextEscaper::TextByte(unsigned char c, std::string& out) {
  if (c == '\\') {
    word_.assign(1, '\\');
    state_ = State::kBackslash;
  } else if (c >= 0x80) {
    out += "\\'";
    AppendHex(c, out);
  } else {
    out += static_cast<char>(c);
  }
}

void RichTextEscaper::EndWord(std::string& out) {
  const bool binary = word_.starts_with("\\bin") && word_.size() > 4 && !negative_ &&
                      word_.find_first_not_of("0123456789", 4) == std::string::npos;
  if (binary && number_ > 0) {
    binary_left_ = number_;
    state_ = State::kBinary;
  } else {
    out += word_;
    state_ = State::kText;
  }
  word_.clear();
}

void RichTextEscaper::Append(std::string_view input, bool last, std::string& out) {
  out.reserve(out.size() + input.size());
  for (size_t i = 0; i < input.size(); ++i) {
    const auto c = static_cast<unsigned char>(input[i]);
    switch (state_) {
      case State::kText:
        TextByte(c, out);
        break;
      case State::kBackslash:
        if (IsLetter(c)) {
          word_ += static_cast<char>(c);
          state_ = State::kWord;
        } else {
          // A control symbol (\\, \{, \'xx, ...) goes out as it is; a raw
          // byte after the backslash becomes the escape of that byte.
          word_.clear();
          state_ = State::kText;
          if (c >= 0x80) {
            out += "\\'";
            AppendHex(c, out);
          } else {
            out += '\\';
            out += static_cast<char>(c);
          }
        }
        break;
      case State::kWord:
        if (IsLetter(c) && word_.size() < 64) {
          word_ += static_cast<char>(c);
          break;
        }
        number_ = 0;
        negative_ = false;
        if (c == '-' || IsDigit(c)) {
          negative_ = c == '-';
          if (!negative_) number_ = static_cast<uint64_t>(c - '0');
          word_ += static_cast<char>(c);
          state_ = State::kNumber;
          break;
        }
        if (c == ' ') {
          word_ += ' ';  // the blank that ends a control word belongs to it
          EndWord(out);
        } else {
          EndWord(out);
          TextByte(c, out);
        }
        break;
      case State::kNumber:
        if (IsDigit(c) && word_.size() < 64) {
          if (number_ < kLargestNumber) number_ = number_ * 10 + static_cast<uint64_t>(c - '0');
          word_ += static_cast<char>(c);
          break;
        }
        if (c == ' ') {
          // The blank that ends a control word belongs to it, except after
          // \binN, whose data come next.
          EndWord(out);
          if (state_ == State::kText) out += ' ';
        } else {
          EndWord(out);
          if (state_ == State::kBinary) {
            --i;  // the byte after \binN is the first of the data
          } else {
            TextByte(c, out);
          }
        }
        break;
      case State::kBinary:
        AppendHex(c, out);
        if (--binary_left_ == 0) state_ = State::kText;
        break;
    }
  }
  if (last && (state_ == State::kBackslash || state_ == State::kWord || state_ == State::kNumber)) {
    out += word_;
    word_.clear();
    state_ = State::kText;
  }
}

}  // namespace ks::core
