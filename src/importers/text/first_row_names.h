// ColumnHeaderFromFirstRow: the layout of a delimited file whose first row
// names its columns, as the delimited wizard proposes it.  The first record
// is split by the given delimiters and qualifier, each value becomes a
// column's name, and the rows to import start at the second.
#pragma once

#include <cstdint>
#include <string>

#include "core/source_decoding.h"

namespace ks::text {

struct FirstRowLayout {
  std::string delimiters;    // every character is a delimiter
  char qualifier = '"';      // 0: no quoted text
  bool consecutive = false;  // consecutive delimiters count as one
  bool origin_ansi = true;   // false: the file is in the DOS code page
  ks::core::SourceCodePages code_pages;  // as the user configured them
};

// 0 and the column header string in *column_header, or the message number
// that says why there is none: the layout's own (13007 for no delimiters),
// the file's failure (11006, 11009, ...), or 11019 when the file has no
// first row.
uint32_t ColumnHeaderFromFirstRow(const std::string& path, const FirstRowLayout& layout,
                                  std::string* column_header);

}  // namespace ks::text
