// What a host asks of a table source before importing it, as the table
// dialogs do: the connection string for a file of a table type, and the
// tables the source offers with their columns.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ks::api {

// The connection string for `path` read as `file_type`; nullopt when the
// type is no table file type or no driver reads it.
std::optional<std::string> TableConnectionString(int32_t file_type, const std::string& path);

struct TableListing {
  uint32_t message = 0;  // 0, or the number of the message that says why not
  // One line per table: its name, then a tab before each column's name; on
  // failure the driver's own words, when it has any.
  std::string text;
};

// The importable tables of the source `connection` opens, read as
// `file_type` (an Access database's system tables are left out).
TableListing ListTables(int32_t file_type, const std::string& connection);

}  // namespace ks::api
