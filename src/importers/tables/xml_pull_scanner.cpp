#include "importers/tables/xml_pull_scanner.h"

#include <algorithm>
#include <cstring>

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

constexpr size_t kChunk = 64 * 1024;
// A tag or a text run longer than these is not a spreadsheet's: a cell
// holds at most 32,767 characters.
constexpr size_t kMostTag = 1 << 20;
constexpr size_t kMostText = 64u << 20;

[[noreturn]] void Damaged(const char* what) {
  throw TableError(TableError::Kind::kDamaged, std::string("damaged XML in the workbook: ") + what);
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view LocalName(std::string_view name) {
  const size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The character an entity between "&" and ";" stands for; false when it is
// none the scanner knows.
bool DecodeEntity(std::string_view entity, std::string& out) {
  if (entity == "lt") return out += '<', true;
  if (entity == "gt") return out += '>', true;
  if (entity == "amp") return out += '&', true;
  if (entity == "quot") return out += '"', true;
  if (entity == "apos") return out += '\'', true;
  if (entity.size() < 2 || entity[0] != '#') return false;
  uint32_t code = 0;
  const bool hex = entity[1] == 'x' || entity[1] == 'X';
  const std::string_view digits = entity.substr(hex ? 2 : 1);
  if (digits.empty() || digits.size() > 8) return false;
  for (const char c : digits) {
    const int d = hex ? HexDigit(c) : (c >= '0' && c <= '9' ? c - '0' : -1);
    if (d < 0) return false;
    code = code * (hex ? 16 : 10) + static_cast<uint32_t>(d);
  }
  AppendUtf8(code, out);
  return true;
}

}  // namespace

size_t MemoryByteSource::Read(char* into, size_t size) {
  const size_t n = std::min(size, rest_.size());
  if (n != 0) std::memcpy(into, rest_.data(), n);
  rest_.remove_prefix(n);
  return n;
}

void AppendUtf8(uint32_t code, std::string& out) {
  if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

void AppendXmlDecoded(std::string_view raw, std::string& out) {
  size_t i = 0;
  while (i < raw.size()) {
    size_t j = i;
    while (j < raw.size() && raw[j] != '&' && raw[j] != '\r') ++j;
    out.append(raw.data() + i, j - i);
    if (j == raw.size()) break;
    if (raw[j] == '\r') {  // XML reads CR LF and a lone CR as LF
      out += '\n';
      i = j + (j + 1 < raw.size() && raw[j + 1] == '\n' ? 2 : 1);
      continue;
    }
    const size_t semicolon = raw.find(';', j + 1);
    if (semicolon != std::string_view::npos && semicolon - j <= 12 &&
        DecodeEntity(raw.substr(j + 1, semicolon - j - 1), out)) {
      i = semicolon + 1;
    } else {
      out += '&';
      i = j + 1;
    }
  }
}

void DecodeSpreadsheetEscapes(std::string& text) {
  size_t at = text.find("_x");
  if (at == std::string::npos) return;
  std::string out(text, 0, at);
  uint32_t high_surrogate = 0;
  while (at < text.size()) {
    uint32_t unit = 0;
    bool escape = at + 7 <= text.size() && text[at] == '_' && text[at + 1] == 'x' && text[at + 6] == '_';
    for (size_t k = 2; escape && k < 6; ++k) {
      const int d = HexDigit(text[at + k]);
      if (d < 0) escape = false;
      unit = unit * 16 + static_cast<uint32_t>(d < 0 ? 0 : d);
    }
    if (!escape) {
      if (high_surrogate != 0) AppendUtf8(0xFFFD, out), high_surrogate = 0;
      out += text[at++];
      continue;
    }
    at += 7;
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (high_surrogate != 0) AppendUtf8(0xFFFD, out);
      high_surrogate = unit;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF && high_surrogate != 0) {
      AppendUtf8(0x10000 + ((high_surrogate - 0xD800) << 10) + (unit - 0xDC00), out);
      high_surrogate = 0;
    } else {
      if (high_surrogate != 0) AppendUtf8(0xFFFD, out), high_surrogate = 0;
      AppendUtf8(unit, out);
    }
  }
  if (high_surrogate != 0) AppendUtf8(0xFFFD, out);
  text.swap(out);
}

XmlPullScanner::XmlPullScanner(ByteSource& source) : source_(source), buffer_(kChunk) {}

bool XmlPullScanner::Fill(size_t need) {
  if (end_ - pos_ >= need) return true;
  if (pos_ != 0) {
    std::memmove(buffer_.data(), buffer_.data() + pos_, end_ - pos_);
    consumed_ += pos_;
    end_ -= pos_;
    pos_ = 0;
  }
  while (end_ < need && !at_end_) {
    if (buffer_.size() - end_ < kChunk / 2) {
      if (buffer_.size() >= kMostTag + kChunk) Damaged("a tag longer than any a workbook holds");
      buffer_.resize(buffer_.size() * 2);
    }
    const size_t got = source_.Read(buffer_.data() + end_, buffer_.size() - end_);
    if (got == 0) at_end_ = true;
    end_ += got;
  }
  return end_ - pos_ >= need;
}

void XmlPullScanner::SkipPast(std::string_view terminator, std::string* out) {
  for (;;) {
    const std::string_view window(buffer_.data() + pos_, end_ - pos_);
    const size_t found = window.find(terminator);
    if (found != std::string_view::npos) {
      if (out) out->append(window.data(), found);
      pos_ += found + terminator.size();
      return;
    }
    // Keep the last bytes, which may begin the terminator.
    const size_t keep = std::min(window.size(), terminator.size() - 1);
    if (out) {
      out->append(window.data(), window.size() - keep);
      if (out->size() > kMostText) Damaged("a text longer than any a workbook holds");
    }
    pos_ = end_ - keep;
    if (!Fill(keep + 1)) Damaged("the part ends inside markup");
  }
}

void XmlPullScanner::SkipMarkup() {
  if (!Fill(4)) Damaged("the part ends inside markup");
  const char* at = buffer_.data() + pos_;
  if (at[1] == '?') {
    SkipPast("?>", nullptr);
  } else if (at[2] == '-' && at[3] == '-') {
    pos_ += 4;
    SkipPast("-->", nullptr);
  } else {
    // A DOCTYPE or another declaration; an internal subset in brackets is
    // skipped whole, and its entities are never expanded.
    pos_ += 2;
    for (;;) {
      if (!Fill(1)) Damaged("the part ends inside a declaration");
      const char c = buffer_[pos_++];
      if (c == '>') return;
      if (c == '[') SkipPast("]", nullptr);
    }
  }
}

void XmlPullScanner::ReadText() {
  text_.clear();
  for (;;) {
    if (!Fill(1)) return;
    const char* begin = buffer_.data() + pos_;
    const char* stop = static_cast<const char*>(std::memchr(begin, '<', end_ - pos_));
    if (stop == nullptr) {
      // Keep an entity that the window's end cuts for the next round.
      size_t usable = end_ - pos_;
      const std::string_view window(begin, usable);
      const size_t amp = window.rfind('&');
      if (amp != std::string_view::npos && window.find(';', amp) == std::string_view::npos &&
          usable - amp < 16 && !at_end_) {
        usable = amp;
      }
      // A CR at the window's end may pair with an LF that follows.
      if (usable != 0 && window[usable - 1] == '\r' && !at_end_) --usable;
      AppendXmlDecoded(window.substr(0, usable), text_);
      pos_ += usable;
      if (text_.size() > kMostText) Damaged("a text longer than any a workbook holds");
      if (at_end_ && pos_ == end_) return;
      if (!Fill(end_ - pos_ + 1) && pos_ == end_) return;
      continue;
    }
    AppendXmlDecoded(std::string_view(begin, static_cast<size_t>(stop - begin)), text_);
    pos_ += static_cast<size_t>(stop - begin);
    if (!Fill(9)) return;
    const std::string_view next(buffer_.data() + pos_, 9);
    if (next == "<![CDATA[") {
      pos_ += 9;
      SkipPast("]]>", &text_);
    } else if (next.substr(0, 4) == "<!--") {
      SkipMarkup();
    } else {
      return;
    }
  }
}

void XmlPullScanner::ReadTag() {
  // pos_ is at "<".  Find the closing ">" outside quoted values.
  size_t scan = pos_ + 1;
  char quote = 0;
  for (;;) {
    if (scan == end_) {
      const size_t offset = scan - pos_;
      if (offset > kMostTag) Damaged("a tag longer than any a workbook holds");
      if (!Fill(offset + 1)) Damaged("the part ends inside a tag");
      scan = pos_ + offset;
    }
    const char c = buffer_[scan];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      break;
    }
    ++scan;
  }
  std::string_view tag(buffer_.data() + pos_ + 1, scan - pos_ - 1);
  pos_ = scan + 1;
  const bool closing = !tag.empty() && tag.front() == '/';
  if (closing) tag.remove_prefix(1);
  self_closing_ = !closing && !tag.empty() && tag.back() == '/';
  if (self_closing_) tag.remove_suffix(1);
  size_t name_end = 0;
  while (name_end < tag.size() && !IsSpace(tag[name_end])) ++name_end;
  if (name_end == 0) Damaged("a tag without a name");
  name_ = LocalName(tag.substr(0, name_end));
  attributes_ = tag.substr(name_end);
}

XmlPullScanner::Token XmlPullScanner::Next() {
  if (!started_) {
    started_ = true;
    if (Fill(3) && std::memcmp(buffer_.data() + pos_, "\xEF\xBB\xBF", 3) == 0) pos_ += 3;
  }
  for (;;) {
    if (!Fill(1)) return Token::kEndOfInput;
    if (buffer_[pos_] != '<') {
      ReadText();
      return Token::kText;
    }
    if (!Fill(2)) Damaged("the part ends inside a tag");
    const char second = buffer_[pos_ + 1];
    if (second == '!') {
      if (Fill(9) && std::string_view(buffer_.data() + pos_, 9) == "<![CDATA[") {
        ReadText();
        return Token::kText;
      }
      SkipMarkup();
      continue;
    }
    if (second == '?') {
      SkipMarkup();
      continue;
    }
    ReadTag();
    return second == '/' ? Token::kEnd : Token::kStart;
  }
}

std::optional<std::string_view> XmlPullScanner::Attribute(std::string_view name) {
  std::string_view rest = attributes_;
  for (;;) {
    size_t i = 0;
    while (i < rest.size() && IsSpace(rest[i])) ++i;
    const size_t name_begin = i;
    while (i < rest.size() && rest[i] != '=' && !IsSpace(rest[i])) ++i;
    const std::string_view attribute = rest.substr(name_begin, i - name_begin);
    while (i < rest.size() && IsSpace(rest[i])) ++i;
    if (attribute.empty() || i >= rest.size() || rest[i] != '=') return std::nullopt;
    ++i;
    while (i < rest.size() && IsSpace(rest[i])) ++i;
    if (i >= rest.size() || (rest[i] != '"' && rest[i] != '\'')) return std::nullopt;
    const size_t close = rest.find(rest[i], i + 1);
    if (close == std::string_view::npos) return std::nullopt;
    const std::string_view value = rest.substr(i + 1, close - i - 1);
    rest.remove_prefix(close + 1);
    if (LocalName(attribute) != name || attribute.starts_with("xmlns")) continue;
    if (value.find('&') == std::string_view::npos) return value;
    attribute_value_.clear();
    AppendXmlDecoded(value, attribute_value_);
    return std::string_view(attribute_value_);
  }
}

void XmlPullScanner::SkipElement() {
  if (self_closing_) return;
  int depth = 1;
  while (depth > 0) {
    switch (Next()) {
      case Token::kStart:
        if (!self_closing_) ++depth;
        break;
      case Token::kEnd:
        --depth;
        break;
      case Token::kText:
        break;
      case Token::kEndOfInput:
        Damaged("the part ends inside an element");
    }
  }
}

}  // namespace ks::tables
