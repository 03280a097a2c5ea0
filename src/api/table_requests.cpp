#include "api/table_requests.h"

#include "core/error_codes.h"
#include "importers/tables/ado_util.h"
#include "importers/tables/table_drivers.h"

namespace ks::api {

std::optional<std::string> TableConnectionString(int32_t file_type, const std::string& path) {
  const std::optional<tables::TableSourceKind> kind = tables::TableSourceKindOf(file_type);
  if (!kind || *kind == tables::TableSourceKind::kOdbc) return std::nullopt;
  std::string connection =
      tables::CAdoUtil::BuildConnectionString(*kind, path, tables::TableDrivers::Installed());
  if (connection.empty()) return std::nullopt;
  return connection;
}

TableListing ListTables(int32_t file_type, const std::string& connection) {
  TableListing listing;
  try {
    const auto source = tables::TableDrivers::Installed().Connect(connection, {});
    const std::vector<std::string> names =
        tables::ImportableTables(*source, tables::TableSourceKindOf(file_type));
    if (names.empty()) {
      listing.message = error_code::kDatabaseHasNoTables;
      return listing;
    }
    for (const std::string& name : names) {
      listing.text += name;
      for (const std::string& column : source->Columns(name)) {
        listing.text += '\t';
        listing.text += column;
      }
      listing.text += '\n';
    }
  } catch (const tables::TableError& error) {
    listing.message = error.kind() == tables::TableError::Kind::kPasswordProtected
                          ? error_code::kPasswordProtected
                          : error_code::kCannotOpenFile;
    listing.text = error.what();
  }
  return listing;
}

}  // namespace ks::api
