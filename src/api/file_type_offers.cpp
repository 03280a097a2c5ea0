#include "api/file_type_offers.h"

#include "core/config_store.h"
#include "core/database_import_settings.h"
#include "core/import_options.h"
#include "core/installed_helpers.h"
#include "ks_eng5.h"
#include "registry/default_filters.h"
#include "registry/import_filters.h"

namespace file_type_offers {

std::vector<ks::core::ImportFilter> OfferedFileTypes() {
  return ks::core::CImportFilters::Build().filters();
}

uint32_t OptionMaskOf(int32_t file_type, std::string* warning) {
  ks::core::ProfileFile configuration =
      *ks::core::ProfileFile::Parse("", ks::core::ProfileFile::Strictness::kStrict);
  try {
    configuration = ks::core::ConfigStore::Load().values();
  } catch (const ks::core::ConfigError& e) {
    if (warning != nullptr) *warning = e.what();
  }
  const auto installed =
      ks::core::FindInstalledHelpers(configuration, ks::core::OdbcConfigFolder());
  for (const auto& filter : ks::core::DefaultImportFilters(installed)) {
    if (filter.file_type == file_type) return filter.option_mask;
  }
  return kEveryOption;
}

void RememberLastUsedFileType(uint32_t database, int32_t file_type) {
  char path[4096] = {};
  if (!EngGetDatabaseName(database, path, sizeof path)) return;
  try {
    ks::core::ConfigStore::Update([&](ks::core::ProfileFile& configuration) {
      const auto installed =
          ks::core::FindInstalledHelpers(configuration, ks::core::OdbcConfigFolder());
      for (const auto& filter : ks::core::DefaultImportFilters(installed)) {
        if (filter.file_type != file_type) continue;
        ks::core::RememberLastUsedFilter(configuration, path, filter.name);
        return;
      }
    });
  } catch (const ks::core::ConfigError&) {
    // Reported where the configuration is read for the import itself.
  }
}

void ApplyFileTypeOptions(SETDATA& record, std::string* warning) {
  const uint32_t mask = OptionMaskOf(record.file_type, warning);
  ks::core::ImportOptions::FromSetData(record).ForcedToMask(mask).WriteTo(record);
}

}  // namespace file_type_offers
