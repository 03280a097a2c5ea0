// FieldLineComposer: the document text of one row of a delimited or
// fixed-width import in text mode, one inline field to a line.
//
// For each column in order, taking the row's values one by one alongside:
//  - a column whose name is empty or "Skip" (any case: the settings wizard's
//    name for a column the user left out) is not written, and its value is
//    dropped;
//  - any other column writes its name with every blank and every field
//    marker character removed, then the marker and one blank; then, when the
//    row has a value for it, the gap, the value trimmed of blanks at both
//    ends, " ]" and CR LF.
// A row with fewer values than columns leaves the names of the columns
// without a value standing, each with its marker and blank and nothing more;
// files imported for years rely on exactly this text, so it stays.  Values
// beyond the last column are ignored.
//
// The gap between "marker and blank" and the value is empty for delimited
// text ("Name[ Smith ]") and one blank for fixed-width text
// ("Name[  Smith ]").  The two imports have always differed so, and
// documents already stored and searched that way depend on it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ks::text {

class FieldLineComposer {
 public:
  enum class ValueGap {
    kDelimited,   // nothing between the marker's blank and the value
    kFixedWidth,  // one more blank there
  };

  FieldLineComposer(std::span<const std::string> names, char marker, ValueGap gap);

  // Replaces *text with the document text of a row of `values`.
  void Compose(std::span<const std::string> values, std::string* text) const;

  // Whether a column of this name is written in text mode.
  static bool IsWrittenColumn(std::string_view name);

 private:
  struct Column {
    bool written;         // the name is neither empty nor "Skip"
    std::string heading;  // the cleaned name, the marker and one blank
  };
  std::vector<Column> columns_;
  std::string_view gap_;
};

}  // namespace ks::text
