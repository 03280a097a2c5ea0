#include "table_sources.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "database.h"
#include "ks_imp.h"

namespace ksimp {

int32_t TableTypeForPath(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == ".mdb" || extension == ".accdb") return KSIMP_TYPE_ACCESS;
  if (extension == ".xls" || extension == ".xlsx") return KSIMP_TYPE_EXCEL;
  if (extension == ".dbf") return KSIMP_TYPE_DBASE;
  if (extension == ".db") return KSIMP_TYPE_PARADOX;
  return 0;
}

bool IsTableType(int32_t type) {
  return type == KSIMP_TYPE_ACCESS || type == KSIMP_TYPE_EXCEL || type == KSIMP_TYPE_DBASE ||
         type == KSIMP_TYPE_VISUAL_FOXPRO || type == KSIMP_TYPE_PARADOX || type == KSIMP_TYPE_ODBC;
}

std::string TableConnectionString(int32_t type, const std::string& path) {
  if (type == KSIMP_TYPE_ODBC) return path;
  std::vector<char> buffer(8192);
  if (!KSIMP_GetTableConnectionString(type, path.c_str(), buffer.data(),
                                      static_cast<int32_t>(buffer.size()))) {
    throw HostError(fmt::format("no driver reads {} as file type {}", path, type));
  }
  return buffer.data();
}

std::string TableSourceName(int32_t type, const std::string& source,
                            const std::vector<std::string>& tables,
                            const std::vector<std::string>& field_names) {
  if (tables.empty() && field_names.empty()) return source;
  // Connection string, file, tables ended by "end_tables", field names a
  // line each: ESC between them, as the table dialogs write it.
  std::string name = TableConnectionString(type, source);
  name += '\x1b';
  if (type != KSIMP_TYPE_ODBC) name += source;
  name += '\x1b';
  std::vector<std::string> chosen = tables;
  std::error_code error;
  const bool table_per_file = type == KSIMP_TYPE_DBASE || type == KSIMP_TYPE_VISUAL_FOXPRO ||
                              type == KSIMP_TYPE_PARADOX;
  if (chosen.empty() && table_per_file && !std::filesystem::is_directory(source, error)) {
    // The connection reaches every table of the file's folder; the user
    // named this one.
    chosen.push_back(std::filesystem::path(source).stem().string());
  }
  for (const std::string& table : chosen) name += table + ';';
  name += "end_tables\x1b";
  for (const std::string& field : field_names) name += field + "\r\n";
  return name;
}

}  // namespace ksimp
