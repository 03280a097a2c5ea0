// The default list of file types offered to the user, in the order shown,
// read from the file-type table.  Two entries depend on what is installed:
// the external filter program adds the "Use Filter" option to the text-like
// types, and the FoxPro entry is there only when an ODBC driver can read
// FoxPro tables.
#pragma once

#include <vector>

#include "core/import_filter.h"
#include "core/installed_helpers.h"

namespace ks::core {

// Fourteen filters with a FoxPro driver, thirteen without.
std::vector<ImportFilter> DefaultImportFilters(const InstalledHelpers& installed);

}  // namespace ks::core
