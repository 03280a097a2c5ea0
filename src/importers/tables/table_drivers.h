// TableDrivers: the driver list the table import finds its driver in: the
// drivers unixODBC reports, in its order, then the drivers this library
// brings (builtin_drivers.h).  A connection string is opened by the driver
// its DRIVER key names; any other (a DSN, a driver only unixODBC knows)
// goes to the driver manager.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/table_source.h"

namespace ks::tables {

class TableDrivers {
 public:
  // The drivers installed on this machine and the built-in ones.
  static TableDrivers Installed();
  // The drivers this library brings, in list order.
  static std::vector<std::unique_ptr<TableDriver>> BuiltIn();

  TableDrivers(std::vector<std::string> odbc_names,
               std::vector<std::unique_ptr<TableDriver>> built_in);
  TableDrivers(TableDrivers&&) noexcept;
  ~TableDrivers();

  // Every name, in list order.
  const std::vector<std::string>& Names() const { return names_; }
  // The first name holding `search_text` (case counts); "" when none does.
  std::string Find(std::string_view search_text) const;

  // Opens the data source `connection` describes.  Throws TableError.
  std::unique_ptr<TableConnection> Connect(std::string_view connection,
                                           const TableReadOptions& options) const;

 private:
  std::vector<std::string> names_;
  std::vector<std::unique_ptr<TableDriver>> built_in_;
};

}  // namespace ks::tables
