#include "registry/default_filters.h"

#include <utility>

#include "core/option_mask.h"
#include "ks_imp.h"
#include "registry/file_type_table.h"

namespace ks::core {

namespace {

ImportFilter MakeFilter(const registry::FileTypeRow& row, bool filter_program) {
  uint32_t mask = row.option_mask;
  if (filter_program && row.filter_program_applies) {
    mask |= static_cast<uint32_t>(ImportOption::kUseFilter);
  }
  return {std::string(row.display_name),
          std::string(row.description),
          std::string(row.extensions),
          row.number,
          mask,
          kFilterStoredConstant};
}

}  // namespace

std::vector<ImportFilter> DefaultImportFilters(const InstalledHelpers& installed) {
  std::vector<ImportFilter> filters;
  for (const registry::FileTypeRow& row : registry::FileTypeRows()) {
    switch (row.offered) {
      case registry::Offered::kNo:
        break;
      case registry::Offered::kYes:
        filters.push_back(MakeFilter(row, installed.filter_program));
        break;
      case registry::Offered::kWhenFoxProDriverIs: {
        if (installed.foxpro_driver == FoxProDriver::kNone) break;
        ImportFilter foxpro = MakeFilter(row, installed.filter_program);
        // A plain FoxPro driver reads no database containers, and its type
        // has no importer: choosing it ends the run, as it always has.
        if (installed.foxpro_driver != FoxProDriver::kVisualFoxPro) {
          foxpro.extensions = "dbf";
          foxpro.file_type = KSIMP_TYPE_FOXPRO;
        }
        filters.push_back(std::move(foxpro));
        break;
      }
    }
  }
  return filters;
}

}  // namespace ks::core
