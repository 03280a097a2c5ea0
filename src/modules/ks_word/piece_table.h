// PieceTable: where each run of a Word document's characters is stored.  A
// complex (fast-saved) file, and every Word 97 file, keeps its text as
// pieces in any order in the main stream; the piece table maps character
// positions to them.  Word 97 pieces are either 8-bit ("compressed",
// Windows-1252) or UTF-16; older versions' pieces are 8-bit in the
// document's code page.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace ks::word {

struct TextPiece {
  uint32_t cp_start = 0;  // first character position
  uint32_t cp_end = 0;    // one past the last
  uint32_t offset = 0;    // byte offset of its first character in the main stream
  bool eight_bit = true;  // one byte per character, else UTF-16
};

// Reads the table (the "Clx": formatting runs, then the pieces) from its
// bytes.  `word97` selects the newer piece form.  Pieces that hold no
// character are left out.  Throws WordError on a table that is damaged.
std::vector<TextPiece> ReadPieceTable(std::string_view clx, bool word97);

}  // namespace ks::word
