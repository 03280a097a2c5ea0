// What the table import reads rows through: a driver, found by name in the
// driver list, connects by a connection string to one data source (a file,
// a folder of table files, an ODBC data source); the connection lists its
// tables and their columns and reads one table forward, row by row, every
// value as UTF-8 text or null.
//
// Values come out as text by one rule for every driver, never by the
// machine's locale (value_text.h): numbers with a point and no grouping,
// dates as YYYY-MM-DD, booleans as True/False.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/connection_string.h"

namespace ks::tables {

// A failure of a driver: the source cannot be opened or read.  what() is
// the driver's own word on it, for the import log.
class TableError : public std::runtime_error {
 public:
  enum class Kind {
    kOther,
    kPasswordProtected,  // the source is protected or encrypted
    kNotFound,           // the file or table is not there
    kDamaged,            // the bytes do not make the format
  };
  TableError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

// One row of the table schema.
struct TableEntry {
  std::string name;
  std::string type;  // "TABLE", "SYSTEM TABLE", "VIEW", ... as the source calls it
};

// A read-only forward pass over one table.  Values of the current row stay
// valid until the next call of Next().
class TableCursor {
 public:
  virtual ~TableCursor() = default;

  // The columns of the table, in schema order.
  virtual const std::vector<std::string>& ColumnNames() const = 0;
  // Moves to the next row (the first on the first call); false at the end.
  // Throws TableError when the source cannot be read further.
  virtual bool Next() = 0;
  // The current row's value of column `column` (schema order) as UTF-8
  // text; nullopt for a null.
  virtual std::optional<std::string_view> Value(size_t column) = 0;
  // Columns whose values are binary (pictures, OLE objects) and are handed
  // out as null; the import logs them once per table.
  virtual std::vector<std::string> BinaryColumns() const { return {}; }
  // Anything else about the table the import log should say, one sentence
  // each (a memo file that is missing, ...).
  virtual std::vector<std::string> Notes() const { return {}; }
  // How far the pass has come, 0 to 1, where the driver knows it; -1 when
  // it does not.
  virtual double Progress() const { return -1; }
};

// What a connection reads text with where the source does not say its
// character set itself.
struct TableReadOptions {
  std::string code_page = "WINDOWS-1252";  // 8-bit text that is not UTF-8
};

// An open data source.
class TableConnection {
 public:
  virtual ~TableConnection() = default;

  // The table schema, in the source's order.
  virtual std::vector<TableEntry> Tables() = 0;
  // The columns of `table`, in schema order; empty when there is no such
  // table.
  virtual std::vector<std::string> Columns(std::string_view table) = 0;
  // Opens `table` for reading: the rows of SELECT * FROM [table].
  virtual std::unique_ptr<TableCursor> OpenTable(std::string_view table) = 0;
};

// One entry of the driver list.
class TableDriver {
 public:
  virtual ~TableDriver() = default;

  // The name the driver list gives, which a connection string names in
  // its DRIVER key.
  virtual const std::string& Name() const = 0;
  // Opens the data source `connection` names (its DBQ: the file or the
  // folder of files).  Throws TableError when it cannot.
  virtual std::unique_ptr<TableConnection> Connect(const ConnectionString& connection,
                                                   const TableReadOptions& options) = 0;
};

}  // namespace ks::tables
