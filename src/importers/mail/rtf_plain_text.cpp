#include "importers/mail/rtf_plain_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "core/charset_converter.h"

namespace {

constexpr std::array<std::string_view, 22> kSkippedDestinations = {
    "fonttbl",   "colortbl",    "stylesheet",  "info",          "pict",      "object",
    "header",    "footer",      "headerl",     "headerr",       "footerl",   "footerr",
    "listtable", "listoverridetable", "rsidtbl", "generator",   "xmlnstbl",  "themedata",
    "fldinst",   "datastore",   "latentstyles", "colorschememapping"};

// The longest control word and parameter read; RTF allows 32 letters and a
// 16-bit parameter, longer ones are damage and are cut.
constexpr size_t kLongestWord = 32;
constexpr size_t kLongestParameter = 10;

struct Group {
  bool skipped = false;
  int unicode_skip = 1;  // \ucN: stand-in characters after each \uN
};

class RtfReader {
 public:
  explicit RtfReader(std::string_view rtf) : rtf_(rtf) {}

  std::string Text() {
    groups_.push_back(Group{});
    while (at_ < rtf_.size()) {
      const char c = rtf_[at_++];
      if (c == '{') {
        Group inner = groups_.back();
        if (groups_.size() >= kRtfDeepestGroup) inner.skipped = true;
        groups_.push_back(inner);
        starts_group_ = true;
        continue;
      }
      const bool first_in_group = starts_group_;
      starts_group_ = false;
      if (c == '}') {
        if (groups_.size() > 1) groups_.pop_back();
      } else if (c == '\\') {
        ControlSymbolOrWord(first_in_group);
      } else if (c != '\r' && c != '\n') {
        Byte(c);
      }
    }
    Flush();
    return std::move(out_);
  }

 private:
  bool Skipping() const { return groups_.back().skipped || html_only_; }

  void Byte(char c) {
    if (pending_stand_ins_ > 0) {
      --pending_stand_ins_;
      return;
    }
    // Control characters (written as \'0a or the like) carry no text; line
    // breaks are \par and \line.
    if (!Skipping() && (static_cast<unsigned char>(c) >= 0x20 || c == '\t')) bytes_ += c;
  }

  void Unicode(long code) {
    // The number is a signed 16-bit value: negative ones stand for the
    // upper half.  One outside that range, or a surrogate half on its own,
    // is no character.
    if (code < 0) code += 65536;
    pending_stand_ins_ = groups_.back().unicode_skip;
    if (Skipping()) return;
    if (code < 0 || code > 0xFFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
    if (code < 0x20 && code != '\t') return;  // control characters carry no text
    Flush();
    char32_t point = static_cast<char32_t>(code);
    if (point < 0x80) {
      out_ += static_cast<char>(point);
    } else if (point < 0x800) {
      out_ += static_cast<char>(0xC0 | (point >> 6));
      out_ += static_cast<char>(0x80 | (point & 0x3F));
    } else {
      out_ += static_cast<char>(0xE0 | (point >> 12));
      out_ += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
      out_ += static_cast<char>(0x80 | (point & 0x3F));
    }
  }

  void Emit(std::string_view text) {
    if (Skipping()) return;
    Flush();
    out_ += text;
  }

  // The bytes gathered so far, read in the document's code page.  A code
  // page may turn a printable byte into a control character (EBCDIC reads
  // "%" as a line feed): those are dropped too.
  void Flush() {
    if (bytes_.empty()) return;
    std::string text;
    ks::core::CharsetConverter::ForThisThread().AppendText(code_page_, bytes_, text);
    std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; });
    out_ += text;
    bytes_.clear();
  }

  void ControlSymbolOrWord(bool first_in_group) {
    if (at_ >= rtf_.size()) return;
    const char c = rtf_[at_];
    if (!std::isalpha(static_cast<unsigned char>(c))) {
      ++at_;
      ControlSymbol(c);
      return;
    }
    const size_t start = at_;
    while (at_ < rtf_.size() && std::isalpha(static_cast<unsigned char>(rtf_[at_]))) ++at_;
    const std::string_view word = rtf_.substr(start, std::min(at_ - start, kLongestWord));
    bool has_parameter = false;
    long parameter = 0;
    bool negative = false;
    if (at_ < rtf_.size() && rtf_[at_] == '-') {
      negative = true;
      ++at_;
    }
    size_t digits = 0;
    while (at_ < rtf_.size() && std::isdigit(static_cast<unsigned char>(rtf_[at_]))) {
      if (digits++ < kLongestParameter) parameter = parameter * 10 + (rtf_[at_] - '0');
      has_parameter = true;
      ++at_;
    }
    if (negative) parameter = -parameter;
    if (at_ < rtf_.size() && rtf_[at_] == ' ') ++at_;
    Word(word, has_parameter, parameter, first_in_group);
  }

  void ControlSymbol(char c) {
    switch (c) {
      case '\'': {
        if (at_ + 2 > rtf_.size()) return;
        const std::string hex(rtf_.substr(at_, 2));
        at_ += 2;
        if (!std::isxdigit(static_cast<unsigned char>(hex[0])) ||
            !std::isxdigit(static_cast<unsigned char>(hex[1]))) {
          return;
        }
        Byte(static_cast<char>(std::stoi(hex, nullptr, 16)));
        return;
      }
      case '*':
        groups_.back().skipped = true;
        return;
      case '~':
        Emit("\u00A0");
        return;
      case '\r':
      case '\n':
        Emit("\r\n");
        return;
      case '\\':
      case '{':
      case '}':
        Byte(c);
        return;
      default:
        return;  // \- \_ \| \: and the like carry no text
    }
  }

  void Word(std::string_view word, bool has_parameter, long parameter, bool first_in_group) {
    if (word == "par" || word == "line" || word == "sect" || word == "row") {
      Emit("\r\n");
    } else if (word == "tab" || word == "cell") {
      Emit("\t");
    } else if (word == "u" && has_parameter) {
      Unicode(parameter);
    } else if (word == "uc" && has_parameter) {
      groups_.back().unicode_skip = static_cast<int>(std::clamp(parameter, 0L, 8L));
    } else if (word == "ansicpg" && has_parameter && parameter > 0 && parameter < 100000) {
      Flush();
      code_page_ = parameter == 65001 ? "UTF-8" : fmt::format("CP{}", parameter);
    } else if (word == "htmlrtf") {
      html_only_ = !has_parameter || parameter != 0;
    } else if (word == "bin" && has_parameter && parameter > 0) {
      at_ += std::min(static_cast<size_t>(parameter), rtf_.size() - at_);
    } else if (first_in_group || word == "pict") {
      for (const std::string_view skipped : kSkippedDestinations) {
        if (word == skipped) groups_.back().skipped = true;
      }
    }
  }

  std::string_view rtf_;
  size_t at_ = 0;
  std::vector<Group> groups_;
  bool starts_group_ = false;
  bool html_only_ = false;
  int pending_stand_ins_ = 0;
  std::string code_page_ = "WINDOWS-1252";
  std::string bytes_;  // raw 8-bit text not yet read in the code page
  std::string out_;
};

// Blanks and line ends at either end say nothing.
std::string Trimmed(std::string text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  const size_t last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

}  // namespace

std::string RtfPlainText(std::string_view rtf) {
  if (rtf.empty()) return {};
  return Trimmed(RtfReader(rtf).Text());
}
