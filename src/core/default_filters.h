// The default list of file types offered to the user, in the order shown.
// Two entries depend on what is installed: the external filter program adds
// the "Use Filter" option to the text-like types, and the FoxPro entry is
// there only when an ODBC driver can read FoxPro tables.
#pragma once

#include <string_view>
#include <vector>

#include "core/import_filter.h"
#include "core/installed_helpers.h"

namespace ks::core {

// The long descriptions of the DOS export text and of delimited text.
inline constexpr std::string_view kKestroDosDescription =
    "ASCII files that were exported from Kestro using the Kestro Dos file type.  These files "
    "contain special characters that indicate where documents are to end when imported.";
inline constexpr std::string_view kDelimitedTextDescription =
    "ASCII text files that contain fielded information.  Fields could be sperated (delimited) by "
    "a comma, a tab, a space, or a character you define.  Fields could also be of fixed width, "
    "each one starting at the same position on every line.  You choose the delimiters or the "
    "field positions in the import wizard.";

// Fourteen filters with a FoxPro driver, thirteen without.
std::vector<ImportFilter> DefaultImportFilters(const InstalledHelpers& installed);

}  // namespace ks::core
