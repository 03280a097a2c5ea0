// CharsetConverter: turns text in a declared character set (a MIME charset
// name such as "iso-8859-1", "koi8-r", "shift_jis") into UTF-8, and applies
// the library's rule for 8-bit text whose character set nobody declared.
//
// The rule for undeclared text: text that is valid UTF-8 is kept as it is;
// otherwise each line is kept when it is valid UTF-8 and is read in the
// code page (Windows-1252 unless another is named) when it is not.  A source
// that mixes UTF-8 lines with legacy ones, as mail headers and bodies copied
// between programs often do, then comes out readable line by line.
//
// Nothing is dropped and nothing stops a conversion: a byte the character set
// does not define becomes U+FFFD, except in a single-byte code page, where it
// becomes the Latin-1 character of the same number (Windows-1252 leaves 0x81,
// 0x8D, 0x8F, 0x90 and 0x9D undefined, and iconv stops at them).  The output
// is always valid UTF-8.
//
// A converter remembers what it learnt of each character set name (a byte
// table for a single-byte code page, or that iconv knows it) for the next
// text, and is not safe for two threads at once.  ForThisThread() hands out
// one per thread, for the callers that make a new composer for every
// message.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ks::core {

// True when `text` is well-formed UTF-8 (no overlong forms, surrogates or
// code points beyond U+10FFFF).  Plain ASCII is valid UTF-8.
bool IsValidUtf8(std::string_view text);

// Bytes at the end of `text` that begin a UTF-8 character the text does
// not finish (a text cut at an arbitrary place); 0 when it ends on a whole
// character or on bytes no continuation could make one.
size_t UnfinishedUtf8Tail(std::string_view text);

// True when no byte of `text` has its high bit set.
bool IsAscii(std::string_view text);

class CharsetConverter {
 public:
  // The code page of undeclared 8-bit text unless the caller names another.
  static constexpr std::string_view kDefaultCodePage = "WINDOWS-1252";

  CharsetConverter();
  ~CharsetConverter();
  CharsetConverter(const CharsetConverter&) = delete;
  CharsetConverter& operator=(const CharsetConverter&) = delete;

  // Appends the UTF-8 form of `text`, written in `charset`.  Returns false,
  // appending nothing, when the character set is unknown.
  bool AppendDeclared(std::string_view charset, std::string_view text, std::string& out);

  // Appends `text`, whose character set is not declared, by the rule above.
  // An unknown `code_page` is read as Windows-1252.
  void AppendUndeclared(std::string_view text, std::string& out,
                        std::string_view code_page = kDefaultCodePage);

  // `text` in `charset` when it is known, else by the rule for undeclared
  // text.  An empty charset is undeclared.
  void AppendText(std::string_view charset, std::string_view text, std::string& out,
                  std::string_view code_page = kDefaultCodePage);

  std::string ToUtf8(std::string_view charset, std::string_view text,
                     std::string_view code_page = kDefaultCodePage) {
    std::string out;
    AppendText(charset, text, out, code_page);
    return out;
  }

  // Whether `charset` names a character set this converter can read.
  bool Knows(std::string_view charset);

  // How text in `charset` is read, for a caller that converts a stream
  // piece by piece: a single-byte code page (and ASCII) converts any piece
  // on its own, UTF-8 and other multibyte sets need the pieces joined at
  // character boundaries.
  enum class Reading { kUnknown, kUtf8, kAscii, kSingleByte, kMultiByte };
  Reading ReadingOf(std::string_view charset);
  // The name iconv knows `charset` by ("" when unknown).
  std::string IconvNameOf(std::string_view charset);

  // The converter of the calling thread, opened on first use.
  static CharsetConverter& ForThisThread();

 private:
  struct Entry;
  // The converter for a character set name; null when it is unknown.
  const Entry* Find(std::string_view charset);

  std::unordered_map<std::string, std::unique_ptr<Entry>> entries_;
  // The name asked for last, as written, and its converter: mail names one
  // character set over and over.
  std::string last_name_;
  const Entry* last_entry_ = nullptr;
};

}  // namespace ks::core
