#include "importers/mail/mime_encoded_words.h"

#include <optional>

#include "importers/mail/base64_coder.h"
#include "importers/mail/mime_quoted_printable.h"

namespace ks::mail {

namespace {

struct EncodedWord {
  size_t end = 0;            // just after its "?="
  std::string_view charset;  // without an RFC 2231 language ("*en")
  char encoding = 'Q';       // 'Q' or 'B'
  std::string_view text;
};

bool IsWhiteSpace(std::string_view text) {
  for (const char c : text) {
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return false;
  }
  return true;
}

// Where the first "?=" at or after a position is, for positions that only
// grow (each word's text starts after the "?" that ends the charset, which
// lies beyond the last one's).  The answer is kept while it still lies
// ahead: a value full of words that break the form is still read in one
// pass, not once per word.
class WordEnds {
 public:
  explicit WordEnds(std::string_view value) : value_(value) {}
  size_t From(size_t start) {
    if (!searched_ || (found_ != std::string_view::npos && found_ < start)) {
      searched_ = true;
      found_ = value_.find("?=", start);
    }
    return found_;
  }

 private:
  std::string_view value_;
  bool searched_ = false;
  size_t found_ = std::string_view::npos;
};

// The encoded word starting at `at` (an "=?"), if one does.
std::optional<EncodedWord> ParseEncodedWord(std::string_view value, size_t at, WordEnds& ends) {
  const size_t charset_start = at + 2;
  const size_t charset_end = value.find('?', charset_start);
  if (charset_end == std::string_view::npos || charset_end == charset_start) return std::nullopt;
  EncodedWord word;
  word.charset = value.substr(charset_start, charset_end - charset_start);
  if (word.charset.find_first_of(" \t\r\n\"=") != std::string_view::npos) return std::nullopt;
  word.charset = word.charset.substr(0, word.charset.find('*'));
  if (word.charset.empty() || charset_end + 2 >= value.size() || value[charset_end + 2] != '?') {
    return std::nullopt;
  }
  const char encoding = value[charset_end + 1];
  if (encoding == 'Q' || encoding == 'q') {
    word.encoding = 'Q';
  } else if (encoding == 'B' || encoding == 'b') {
    word.encoding = 'B';
  } else {
    return std::nullopt;
  }
  const size_t text_start = charset_end + 3;
  const size_t text_end = ends.From(text_start);
  if (text_end == std::string_view::npos) return std::nullopt;
  word.text = value.substr(text_start, text_end - text_start);
  if (word.text.find_first_of("\r\n") != std::string_view::npos) return std::nullopt;
  word.end = text_end + 2;
  return word;
}

bool SameCharset(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
    const char y = b[i] >= 'A' && b[i] <= 'Z' ? static_cast<char>(b[i] - 'A' + 'a') : b[i];
    if (x != y) return false;
  }
  return true;
}

}  // namespace

std::string DecodeQEncoding(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '_') {
      out += ' ';
    } else if (c == '=' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
               HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

std::string DecodeHeaderValue(std::string_view value, ks::core::CharsetConverter& converter,
                              std::string_view code_page) {
  std::string out;
  size_t at = value.find("=?");
  if (at == std::string_view::npos) {
    converter.AppendUndeclared(value, out, code_page);
    return out;
  }
  out.reserve(value.size());
  size_t literal_start = 0;  // text not yet written that is no encoded word
  // Decoded bytes of the last run of adjacent words in one character set,
  // converted once the run ends.
  std::string pending;
  std::string_view pending_charset;
  auto flush = [&] {
    if (pending_charset.empty()) return;
    converter.AppendDeclared(pending_charset, pending, out);
    pending.clear();
    pending_charset = {};
  };
  bool after_word = false;
  WordEnds ends(value);
  while (at != std::string_view::npos) {
    const std::optional<EncodedWord> word = ParseEncodedWord(value, at, ends);
    if (!word) {
      at = value.find("=?", at + 2);
      continue;
    }
    const std::string_view between = value.substr(literal_start, at - literal_start);
    const bool joins = after_word && IsWhiteSpace(between);
    if (!joins) {
      flush();
      converter.AppendUndeclared(between, out, code_page);
    }
    if (!converter.Knows(word->charset)) {
      flush();
      converter.AppendUndeclared(value.substr(at, word->end - at), out, code_page);
      after_word = false;  // kept as text: the blank after it stays
    } else {
      if (!SameCharset(pending_charset, word->charset)) flush();
      pending_charset = word->charset;
      pending += word->encoding == 'B' ? Base64Coder::DecodeMime(word->text)
                                       : DecodeQEncoding(word->text);
      after_word = true;
    }
    literal_start = word->end;
    at = value.find("=?", literal_start);
  }
  flush();
  converter.AppendUndeclared(value.substr(literal_start), out, code_page);
  return out;
}

}  // namespace ks::mail
