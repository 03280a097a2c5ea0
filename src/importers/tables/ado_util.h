// CAdoUtil: builds the connection string for a table file of a given kind:
// finds the driver in the driver list by the kind's search texts (the older
// driver's text second, for dBase and FoxPro) and fills in the kind's
// template with the driver's name and the file, or the file's folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/table_drivers.h"

namespace ks::tables {

enum class TableSourceKind { kExcel, kParadox, kDbase, kAccess, kFoxPro, kOdbc };

// The kind of table source a file type names; nullopt for other types.
std::optional<TableSourceKind> TableSourceKindOf(int32_t file_type);

// The tables of `connection` a user may import: an Access database's system
// tables and queries are left out, every table of another source is kept.
// Throws TableError.
std::vector<std::string> ImportableTables(TableConnection& connection,
                                          std::optional<TableSourceKind> kind);

class CAdoUtil {
 public:
  // The connection string for `source_path` (a file, or for a kind whose
  // database is a folder, that folder) read as `kind`; "" when no
  // driver in `drivers` reads that kind.
  static std::string BuildConnectionString(TableSourceKind kind, const std::string& source_path,
                                           const TableDrivers& drivers);

  // The folder of `path`, without a trailing separator ("." for a bare name).
  static std::string FolderOf(const std::string& path);
};

}  // namespace ks::tables
