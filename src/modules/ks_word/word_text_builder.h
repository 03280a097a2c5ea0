// WordTextBuilder: turns the characters of a Word document's text stream,
// where control characters carry the layout (paragraph and cell marks,
// fields, breaks, anchors of pictures and notes), into plain UTF-8 text with
// CR LF line ends.  Shared by every Word reader, so that each version's text
// reads the same way:
//  - paragraph marks, line, page, section and column breaks end a line;
//  - a cell mark ends a cell with a tab; the mark that ends a row (a cell
//    mark right after one) ends the line;
//  - a field keeps its result and drops its code (nested fields too);
//  - a non-breaking hyphen is "-", a non-breaking blank a blank, an
//    optional hyphen and anchors of pictures, objects and notes vanish.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ks::word {

class WordTextBuilder {
 public:
  // Appends one character (a Unicode scalar value; anything else is
  // written as U+FFFD).
  void Add(char32_t c);
  // Appends UTF-16 code units, pairing surrogates that stand together;
  // one left alone is U+FFFD.
  void AddUtf16(const uint16_t* units, size_t count);
  // Ends the current story (main text, notes, text boxes) with a line end,
  // so that the next one begins on a line of its own; open fields close.
  void EndStory();

  const std::string& text() const { return text_; }
  std::string Take() { return std::move(text_); }

 private:
  void Emit(char32_t c);
  void EndLine() { text_ += "\r\n"; }

  std::string text_;
  // One entry per open field: true while its code is being read (up to its
  // separator), false in its result.  Fields nest; depth is bounded so that
  // a hostile document cannot grow it without end.
  std::vector<bool> fields_;
  size_t code_depth_ = 0;  // open fields still in their code
  size_t unbounded_fields_ = 0;  // fields opened beyond the bound
  bool after_cell_mark_ = false;
  char16_t high_surrogate_ = 0;
};

}  // namespace ks::word
