// The import settings remembered for one database: kept under the database's
// File Settings key followed by "\Import".  For now that is the filter last
// used with the database ("FilterString").
#pragma once

#include <string>
#include <string_view>

#include "core/profile_file.h"

namespace ks::core {

// FileSettingsKey(database_path) followed by "\Import".
std::string DatabaseImportKey(std::string_view database_path);

// The filter last used with the database; empty when none is remembered.
std::string LastUsedFilter(const ProfileFile& configuration, std::string_view database_path);

// Remembers the filter (in memory; the caller saves the configuration).
void RememberLastUsedFilter(ProfileFile& configuration, std::string_view database_path,
                            std::string_view filter);

}  // namespace ks::core
