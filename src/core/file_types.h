// File-type numbers that the import session treats specially.  The full list
// of types and their importers is the importer table (importer_table.cpp).
#pragma once

#include <cstdint>

namespace file_type {

inline constexpr int32_t kOutlookFolder = 1008;  // queued size is a message count
inline constexpr int32_t kImapServer = 1062;     // queued size is a message count

// Some types the user may pick import through another type's importer; the
// import run maps them before it asks for an importer.
int32_t ImportedAs(int32_t file_type);

}  // namespace file_type
