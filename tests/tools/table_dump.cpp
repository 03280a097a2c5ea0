// Prints every table a connection string reaches, row by row, as JSON lines,
// through the table import's own drivers: what the tests compare with the
// independent readers of each format.
//
//   table_dump 'DRIVER={...};DBQ=...'
//
// Output: {"table":NAME,"type":TYPE,"columns":[...]} for each table, then one
// {"row":[VALUE or null, ...]} for each of its rows; a view the driver cannot
// open has no columns and no rows.  Exit 1 with the
// driver's message on stderr when the source cannot be read.
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/table_drivers.h"

namespace {

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
      out += escaped;
    } else {
      out += c;
    }
  }
  return out + '"';
}

// A JSON array of the values, each a string or null.
template <typename Values>
std::string JsonArray(const Values& values) {
  std::string out = "[";
  for (const auto& value : values) {
    if (out.size() > 1) out += ',';
    out += value ? JsonString(*value) : "null";
  }
  return out + ']';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: table_dump CONNECTION-STRING\n";
    return 2;
  }
  try {
    const ks::tables::TableDrivers drivers = ks::tables::TableDrivers::Installed();
    const auto connection = drivers.Connect(argv[1], {});
    for (const ks::tables::TableEntry& table : connection->Tables()) {
      std::cout << "{\"table\":" << JsonString(table.name) << ",\"type\":" << JsonString(table.type)
                << ",\"columns\":";
      std::unique_ptr<ks::tables::TableCursor> cursor;
      try {
        cursor = connection->OpenTable(table.name);
      } catch (const ks::tables::TableError& error) {
        // A view or link a driver lists but cannot read (a saved Access
        // query) is printed without columns; a table that fails is an error.
        if (table.type.find("TABLE") != std::string::npos) throw;
        std::cout << "[]}\n";
        continue;
      }
      std::vector<std::optional<std::string>> columns;
      for (const std::string& name : cursor->ColumnNames()) columns.emplace_back(name);
      std::cout << JsonArray(columns) << "}\n";
      while (cursor->Next()) {
        std::vector<std::optional<std::string>> row;
        for (size_t i = 0; i < columns.size(); ++i) row.emplace_back(cursor->Value(i));
        std::cout << "{\"row\":" << JsonArray(row) << "}\n";
      }
    }
  } catch (const ks::tables::TableError& error) {
    std::cerr << "table_dump: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
