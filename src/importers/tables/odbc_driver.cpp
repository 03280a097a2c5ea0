// Placeholder until the driver manager's connection lands.
#include "importers/tables/odbc_driver.h"

namespace ks::tables {

std::vector<std::string> InstalledOdbcDriverNames() { return {}; }

std::unique_ptr<TableConnection> ConnectOdbc(const ConnectionString& connection,
                                             const TableReadOptions&) {
  throw TableError(TableError::Kind::kOther, "no ODBC driver for " + connection.text());
}

}  // namespace ks::tables
