#include "core/database_import_settings.h"

#include "core/config_store.h"
#include "core/filter_list_store.h"

namespace ks::core {
namespace {

constexpr std::string_view kFilterString = "FilterString";

}  // namespace

std::string DatabaseImportKey(std::string_view database_path) {
  return FileSettingsKey(database_path) + "\\Import";
}

std::string LastUsedFilter(const ProfileFile& configuration, std::string_view database_path) {
  // Quoted like the filter list's texts: a filter name may end in a blank.
  return UnquotedProfileText(
      configuration.GetOr(DatabaseImportKey(database_path), kFilterString, ""));
}

void RememberLastUsedFilter(ProfileFile& configuration, std::string_view database_path,
                            std::string_view filter) {
  configuration.Set(DatabaseImportKey(database_path), kFilterString, QuotedProfileText(filter));
}

}  // namespace ks::core
