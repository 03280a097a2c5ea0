// RichTextEscaper: keeps rich text (RTF) markup as it is while making it
// valid UTF-8 for the database.  The format is 7-bit: its own escapes carry
// every other character (\'xx, a byte of the document's code page named by
// \ansicpg or a font's \fcharset; \uN, a Unicode character).  A raw byte
// with the high bit set means to every reader of the format what \'xx of the
// same value means, so each one is written as that escape: the document
// reads exactly as before, whatever its code page, and the text stored is
// ASCII.  The origin and a named character set of the import therefore do
// not apply to rich text: the document declares its own.
//
// Binary data (\binN followed by N raw bytes, in pictures and objects) is
// written as the hexadecimal digits those destinations take without \bin:
// the same data, and no raw bytes.  Streaming: a control word cut by the end
// of a piece is finished with the next one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/text_decoder.h"

namespace ks::core {

class RichTextEscaper final : public TextDecoder {
 public:
  void Append(std::string_view input, bool last, std::string& out) override;
  // The control word being read is held back whole.
  size_t HeldBack() const override { return word_.size(); }

 private:
  enum class State {
    kText,       // plain text and markup
    kBackslash,  // after a backslash
    kWord,       // in the letters of a control word
    kNumber,     // in the number of a control word
    kBinary,     // in the raw bytes after \binN
  };
  // Handles one byte of text or markup.
  void TextByte(unsigned char c, std::string& out);
  // The control word held back ends before `c` (which is not yet handled).
  void EndWord(std::string& out);

  State state_ = State::kText;
  std::string word_;          // the control word read so far, backslash included
  uint64_t number_ = 0;       // its number
  bool negative_ = false;     // its number has a minus sign
  uint64_t binary_left_ = 0;  // raw bytes of \bin data still to come
};

}  // namespace ks::core
