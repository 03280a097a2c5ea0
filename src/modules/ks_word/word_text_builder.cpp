#include "word_text_builder.h"

namespace ks::word {
namespace {

constexpr size_t kDeepestField = 256;

constexpr char32_t kCellMark = 0x07;
constexpr char32_t kTab = 0x09;
constexpr char32_t kLineBreak = 0x0B;
constexpr char32_t kPageBreak = 0x0C;
constexpr char32_t kParagraphMark = 0x0D;
constexpr char32_t kColumnBreak = 0x0E;
constexpr char32_t kFieldBegin = 0x13;
constexpr char32_t kFieldSeparator = 0x14;
constexpr char32_t kFieldEnd = 0x15;
constexpr char32_t kNonBreakingHyphen = 0x1E;
constexpr char32_t kNonBreakingSpace = 0xA0;

void AppendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

}  // namespace

void WordTextBuilder::Add(char32_t c) {
  if (high_surrogate_ != 0) {  // a UTF-16 piece ended on half a character
    high_surrogate_ = 0;
    Add(0xFFFD);
  }
  switch (c) {
    case kFieldBegin:
      if (fields_.size() < kDeepestField) {
        fields_.push_back(true);
        ++code_depth_;
      } else {
        ++unbounded_fields_;
      }
      return;
    case kFieldSeparator:
      if (unbounded_fields_ == 0 && !fields_.empty() && fields_.back()) {
        fields_.back() = false;
        --code_depth_;
      }
      return;
    case kFieldEnd:
      if (unbounded_fields_ > 0) {
        --unbounded_fields_;
      } else if (!fields_.empty()) {
        if (fields_.back()) --code_depth_;
        fields_.pop_back();
      }
      return;
    default:
      break;
  }
  if (code_depth_ > 0 || unbounded_fields_ > 0) return;  // a field's code
  Emit(c);
}

void WordTextBuilder::Emit(char32_t c) {
  const bool cell_mark = c == kCellMark;
  const bool row_end = cell_mark && after_cell_mark_;
  after_cell_mark_ = cell_mark && !row_end;
  if (c >= 0x20 && c != 0x7F) {
    AppendUtf8(text_, c == kNonBreakingSpace ? U' ' : c);
    return;
  }
  switch (c) {
    case kCellMark:
      if (row_end) {
        if (!text_.empty() && text_.back() == '\t') text_.pop_back();
        EndLine();
      } else {
        text_ += '\t';
      }
      return;
    case kTab:
      text_ += '\t';
      return;
    case kParagraphMark:
    case kLineBreak:
    case kPageBreak:
    case kColumnBreak:
      EndLine();
      return;
    case kNonBreakingHyphen:
      text_ += '-';
      return;
    default:
      return;  // anchors, the optional hyphen, other controls: nothing to read
  }
}

void WordTextBuilder::AddUtf16(const uint16_t* units, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const char16_t unit = static_cast<char16_t>(units[i]);
    if (high_surrogate_ != 0) {
      const char16_t high = high_surrogate_;
      high_surrogate_ = 0;
      if (unit >= 0xDC00 && unit <= 0xDFFF) {
        Add(0x10000 + ((static_cast<char32_t>(high) - 0xD800) << 10) + (unit - 0xDC00));
        continue;
      }
      Add(0xFFFD);
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      high_surrogate_ = unit;
    } else {
      Add(unit);  // a lone low surrogate becomes U+FFFD when written
    }
  }
}

void WordTextBuilder::EndStory() {
  if (high_surrogate_ != 0) {
    high_surrogate_ = 0;
    Add(0xFFFD);
  }
  fields_.clear();
  code_depth_ = 0;
  unbounded_fields_ = 0;
  after_cell_mark_ = false;
  if (!text_.empty() && text_.back() != '\n') EndLine();
}

}  // namespace ks::word
