#include "importers/tables/ado_util.h"

#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "ks_imp.h"

namespace ks::tables {

std::optional<TableSourceKind> TableSourceKindOf(int32_t file_type) {
  switch (file_type) {
    case KSIMP_TYPE_EXCEL:
      return TableSourceKind::kExcel;
    case KSIMP_TYPE_PARADOX:
      return TableSourceKind::kParadox;
    case KSIMP_TYPE_DBASE:
      return TableSourceKind::kDbase;
    case KSIMP_TYPE_ACCESS:
      return TableSourceKind::kAccess;
    case KSIMP_TYPE_VISUAL_FOXPRO:
      return TableSourceKind::kFoxPro;
    case KSIMP_TYPE_ODBC:
      return TableSourceKind::kOdbc;
    default:
      return std::nullopt;
  }
}

std::vector<std::string> ImportableTables(TableConnection& connection,
                                          std::optional<TableSourceKind> kind) {
  std::vector<std::string> names;
  for (TableEntry& table : connection.Tables()) {
    if (kind == TableSourceKind::kAccess && table.type != "TABLE") continue;
    names.push_back(std::move(table.name));
  }
  return names;
}

std::string CAdoUtil::FolderOf(const std::string& path) {
  std::string folder = std::filesystem::path(path).parent_path().string();
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder.empty() ? "." : folder;
}

std::string CAdoUtil::BuildConnectionString(TableSourceKind kind, const std::string& source_path,
                                            const TableDrivers& drivers) {
  struct Recipe {
    std::string_view search, fallback_search;
    std::string_view pattern;  // the driver's name, then the file or folder
    bool folder;
  };
  // The FoxPro string begins "ODBC;DSN='';" and the dBase one does not,
  // though both read DBF tables: kept as the dialogs have always built them.
  const Recipe recipe = [&]() -> Recipe {
    switch (kind) {
      case TableSourceKind::kExcel:
        return {"Microsoft Excel", "", "driver={{{}}};dbq={}", false};
      case TableSourceKind::kParadox:
        return {"Paradox", "", "driver={{{}}};dbq={}", true};
      case TableSourceKind::kDbase:
        return {"Microsoft dBase VFP Driver", "Microsoft dBase Driver",
                "DRIVER={{{}}};DBQ={};SourceType=DBF;UID=admin", true};
      case TableSourceKind::kAccess:
        return {"Microsoft Access", "", "driver={{{}}};dbq={}", false};
      case TableSourceKind::kFoxPro:
        return {"Visual FoxPro", "Microsoft FoxPro",
                "ODBC;DSN='';DRIVER={{{}}};DBQ={};SourceType=DBF;UID=admin", true};
      case TableSourceKind::kOdbc:
        break;
    }
    return {};
  }();
  if (recipe.search.empty()) return {};
  std::string driver = drivers.Find(recipe.search);
  if (driver.empty() && !recipe.fallback_search.empty()) driver = drivers.Find(recipe.fallback_search);
  if (driver.empty()) return {};
  // A folder of table files is its own database.
  std::error_code error;
  const bool is_folder = std::filesystem::is_directory(source_path, error);
  const std::string database = recipe.folder && !is_folder ? FolderOf(source_path) : source_path;
  return fmt::format(fmt::runtime(recipe.pattern), driver, ConnectionString::Quote(database));
}

}  // namespace ks::tables
