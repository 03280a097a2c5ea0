// The rows of a table as the driver tests compare them (each value, or null
// where the table holds none), the error a driver throws, and bytes written
// as numbers for the tables and workbooks they make by hand.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "importers/tables/table_source.h"

using Row = std::vector<std::optional<std::string>>;
using Rows = std::vector<Row>;

// Every row the cursor has left to give.
inline Rows RowsOf(ks::tables::TableCursor& cursor) {
  Rows rows;
  while (cursor.Next()) {
    Row& row = rows.emplace_back();
    for (size_t i = 0; i < cursor.ColumnNames().size(); ++i) {
      const auto value = cursor.Value(i);
      row.push_back(value ? std::optional<std::string>(*value) : std::nullopt);
    }
  }
  return rows;
}

// The error `action` throws; one of kind kOther saying so when it throws
// none, so that a test expecting a refusal fails on its kind or message.
template <typename Action>
ks::tables::TableError FailureOf(Action action) {
  try {
    action();
  } catch (const ks::tables::TableError& error) {
    return error;
  }
  return ks::tables::TableError(ks::tables::TableError::Kind::kOther, "nothing was thrown");
}

inline std::string Bytes(std::initializer_list<int> values) {
  std::string bytes;
  for (const int value : values) bytes += static_cast<char>(value);
  return bytes;
}
