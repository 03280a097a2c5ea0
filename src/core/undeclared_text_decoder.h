// UndeclaredTextDecoder: reads a stream of 8-bit text whose character set
// nobody declared (a "Windows (ANSI)" source) by the library's rule, line by
// line: a line that is valid UTF-8 is kept byte for byte, a line that is not
// is read in the ANSI code page (Windows-1252 unless the configuration names
// another) and stored as UTF-8.  A file that mixes UTF-8 lines with legacy
// ones, as files edited by several programs often do, then loses nothing
// and becomes searchable.
//
// Judging a line needs the whole line: the part of a piece after its last
// line end (CR or LF) waits for the next piece.  A line longer than
// kLongestJudgedLine is judged in parts of about that size counted from its
// start, each cut where no UTF-8 character is split (Utf8SafeCut), so that memory stays
// bounded and the output never depends on where the pieces end.  Text that is valid UTF-8 as a
// whole (ASCII above all) is appended with one check and one copy.
#pragma once

#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "core/text_decoder.h"

namespace ks::core {

class UndeclaredTextDecoder final : public TextDecoder {
 public:
  static constexpr size_t kLongestJudgedLine = size_t{1} << 20;

  // `code_page` reads the lines that are not UTF-8; it must be one the
  // converter knows (an unknown one reads as Windows-1252).
  explicit UndeclaredTextDecoder(
      std::string code_page = std::string(CharsetConverter::kDefaultCodePage),
      size_t longest_judged_line = kLongestJudgedLine);

  void Append(std::string_view input, bool last, std::string& out) override;
  size_t HeldBack() const override { return carry_.size(); }

 private:
  // Appends whole lines of `text`, each by the rule.
  void AppendLines(std::string_view text, std::string& out);
  // Appends one line, or one part of a line too long, by the rule.
  void AppendJudged(std::string_view line, std::string& out);
  // Judges the unfinished line in parts while it is longer than the limit.
  void JudgeLongCarry(std::string& out);

  CharsetConverter converter_;
  std::string code_page_;  // one the converter reads; Windows-1252 for any other
  const size_t longest_judged_line_;
  std::string carry_;  // the unfinished line of the pieces so far
};

// Where a part of a line too long, taken from the start of `text`, ends:
// at `limit` bytes or before, where no UTF-8 character is split; after the
// first character when that one alone reaches past `limit`.  Reads at most
// three bytes past `limit`.
size_t Utf8SafeCut(std::string_view text, size_t limit);

}  // namespace ks::core
