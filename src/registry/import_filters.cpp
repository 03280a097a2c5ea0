#include "registry/import_filters.h"

#include <algorithm>

#include "core/filter_list_store.h"
#include "registry/default_filters.h"

namespace ks::core {

CImportFilters CImportFilters::Build(const std::filesystem::path& config_path,
                                     const std::filesystem::path& odbc_folder) {
  CImportFilters list({});
  ConfigStore::Update(
      [&](ProfileFile& configuration) {
        const InstalledHelpers installed = FindInstalledHelpers(configuration, odbc_folder);
        list.filters_ = DefaultImportFilters(installed);
        StoreFilterList(configuration, list.filters_);
      },
      config_path);
  return list;
}

CImportFilters CImportFilters::ReadKept(const std::filesystem::path& config_path) {
  return CImportFilters(ReadFilterList(ConfigStore::Load(config_path)));
}

const ImportFilter* CImportFilters::FindByFileType(int32_t file_type) const {
  const auto found = std::find_if(filters_.begin(), filters_.end(),
                                  [file_type](const auto& f) { return f.file_type == file_type; });
  return found == filters_.end() ? nullptr : &*found;
}

}  // namespace ks::core
