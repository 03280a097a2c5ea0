// Tables of any ODBC data source, through unixODBC: the installed drivers'
// names, and a connection by a connection string ("DSN=name" or
// "DRIVER={name};..."), as the driver manager takes it.
//
// unixODBC reads ODBCSYSINI once, at its first call in the process, and
// keeps that folder for good; the odbcinst.ini in it is read afresh on
// every listing.  A driver that holds a whole result in memory (the
// PostgreSQL driver unless the string says UseDeclareFetch=1, the SQLite3
// driver unless StepAPI=1) is asked for nothing else here: the connection
// string is the host's.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/table_source.h"

namespace ks::tables {

// The drivers unixODBC lists (SQLGetInstalledDrivers), in its order; empty
// when it lists none.
std::vector<std::string> InstalledOdbcDriverNames();

// Connects through the driver manager.  Throws TableError with the
// driver's diagnostic when it cannot.
std::unique_ptr<TableConnection> ConnectOdbc(const ConnectionString& connection,
                                             const TableReadOptions& options);

}  // namespace ks::tables
