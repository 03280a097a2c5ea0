// The settings a table import reads from its source name: the string the
// table dialogs make, elements separated by ESC (byte 27):
//   1. the connection string;
//   2. the source file's path;
//   3. the tables, separated by ";" and ended by the word "end_tables";
//   4. the user's field names, one a line (CR LF), in column order.
// A name without ESC is a plain path: the connection is then built for the
// file type (CAdoUtil) and every table of the source is read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ks::tables {

struct TableImportSettings {
  std::string connection;
  std::string source_path;
  std::vector<std::string> tables;  // empty: every table the source lists
  // The one table when the list holds exactly one, else empty.
  std::string single_table;
  std::vector<std::string> field_names;  // empty: the columns' own names
};

// Reads the settings string `text`.  False when it has no connection string
// (the first element is missing or empty).
bool ParseTableImportSettings(std::string_view text, TableImportSettings& settings);

// The settings string of `settings`, as the dialogs write it.
std::string TableImportSettingsString(const TableImportSettings& settings);

inline constexpr char kSettingsSeparator = '\x1b';
inline constexpr std::string_view kEndOfTables = "end_tables";

}  // namespace ks::tables
