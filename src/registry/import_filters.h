// CImportFilters: the list of file types offered by the import dialog and
// wizard.  Build composes the default list for what is installed here and
// keeps it in the configuration; ReadKept reads back what a session kept.
// A damaged configuration is reported (ConfigError) and never replaced.
#pragma once

#include <filesystem>
#include <vector>

#include "core/config_store.h"
#include "core/import_filter.h"
#include "core/installed_helpers.h"

namespace ks::core {

class CImportFilters {
 public:
  // Loads the configuration, finds the filter program (through the
  // configuration) and the FoxPro driver (in odbc_folder), builds the
  // default list, keeps it and saves the configuration.  Throws ConfigError
  // when the configuration is damaged or cannot be saved; the file is then
  // left exactly as it was.
  static CImportFilters Build(const std::filesystem::path& config_path = ConfigStore::DefaultPath(),
                              const std::filesystem::path& odbc_folder = OdbcConfigFolder());

  // The list kept by an earlier Build; empty when none is kept.  Throws
  // ConfigError when the configuration or the kept list is damaged.
  static CImportFilters ReadKept(
      const std::filesystem::path& config_path = ConfigStore::DefaultPath());

  explicit CImportFilters(std::vector<ImportFilter> filters) : filters_(std::move(filters)) {}

  const std::vector<ImportFilter>& filters() const { return filters_; }

  // The filter of a file type, or null when the list does not offer it.
  const ImportFilter* FindByFileType(int32_t file_type) const;

 private:
  std::vector<ImportFilter> filters_;
};

}  // namespace ks::core
