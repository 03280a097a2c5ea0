// Cutting one line of a fixed-width file into its column values.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ks::text {

// Replaces *values with the columns of `line`: column 1 starts at the first
// character and each column is `widths[i]` characters long, starting where
// the one before it ended (fewer characters, or none, where the line is
// short; a negative width counts as 0).  Text left after the last column
// becomes one more value, which belongs to no column.  Values keep their
// filler blanks.  With no widths nothing is cut and *values stays as it was.
// The line is UTF-8 (the import decodes its source before cutting), and a
// character is one code point, whatever its bytes: widths are counted as
// the program that wrote the file counted them, one character a column.
void CutFixedWidthLine(std::string_view line, std::span<const int32_t> widths,
                       std::vector<std::string>* values);

}  // namespace ks::text
