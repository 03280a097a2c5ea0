// Table sources on the command line: the type of a table file by its
// extension, the connection string the library builds for it, and the
// settings string that names the tables and field names to import.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ksimp {

// The table type a file's extension names (.mdb .accdb, .xls .xlsx, .dbf,
// .db); 0 for any other.
int32_t TableTypeForPath(const std::string& path);

// Whether `type` imports database tables.
bool IsTableType(int32_t type);

// The connection string for `path` read as `type`; HostError when no driver
// reads it.
std::string TableConnectionString(int32_t type, const std::string& path);

// The name to queue: the settings string of the tables and field names
// given (a connection string is built for a file), or the source as it
// stands when neither is given.
std::string TableSourceName(int32_t type, const std::string& source,
                            const std::vector<std::string>& tables,
                            const std::vector<std::string>& field_names);

}  // namespace ksimp
