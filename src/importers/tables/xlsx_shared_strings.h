// SharedStrings: the shared-string table of a workbook (xl/sharedStrings.xml),
// which sheet cells of type "s" name by index.  Cells read it in any order,
// so it is held whole, but compactly: one buffer of text and the end of
// each string in it.  A rich-text string is its runs joined; phonetic
// guides are left out; _xHHHH_ escapes are decoded.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/xml_pull_scanner.h"

namespace ks::tables {

class SharedStrings {
 public:
  SharedStrings() = default;
  // Reads the part from `source` as a stream.  Damaged XML throws
  // TableError kDamaged.
  static SharedStrings Read(ByteSource& source);

  size_t size() const { return ends_.size(); }
  // String `index`, which must be below size().
  std::string_view operator[](size_t index) const {
    const size_t begin = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(text_).substr(begin, ends_[index] - begin);
  }

 private:
  std::string text_;
  std::vector<size_t> ends_;
};

}  // namespace ks::tables
