// Where a delimited (1004) or fixed-width (9999) import finds its column
// header string, the KEY=VALUE list that names and shapes its columns.
//
// A queued record asks for stored settings with its "use stored settings"
// option.  Without it the import has no column header string and each record
// becomes a document of its own text.  With it, the record's date-from text
// (argument 14 of KSIMP_AddFileToImport; these file types have no dated
// items, so it is otherwise unused) says where the settings are:
//  - text holding a line break is the column header string itself;
//  - any other non-empty text is the path of a ".ksi" settings file;
//  - empty text means the settings file saved beside the source: the
//    source's path with its extension replaced by ".ksi" (or ".ksi" added
//    when it has none), so "orders.csv" is read with "orders.ksi".
// A column header string always has at least two lines (its type and its
// column count), and a path never holds a line break, so the two cannot be
// taken for one another.
#pragma once

#include <string>

#include "core/setdata.h"

namespace ks::text {

struct StoredColumnHeader {
  std::string text;           // the column header string; empty: the import has none
  std::string settings_path;  // the settings file it was read from; empty when none was read
  // Why the settings file the record names could not be read, in the words
  // of the import log (without the line end); empty when nothing went wrong.
  std::string problem;
};

// The column header string that `options` select, by the rules above.  A
// settings file that cannot be read gives no string and says why in
// `problem`; the import then goes on without fields.
StoredColumnHeader FindStoredColumnHeader(const SETDATA& options);

// The settings file kept beside `source_path`.
std::string SettingsPathBeside(const std::string& source_path);

}  // namespace ks::text
