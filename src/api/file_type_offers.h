// The file types this machine offers and the import options each offers,
// from the filter list kept in the configuration.  Used when a source is
// queued (to narrow its options to its type) and by hosts that list types.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/import_filter.h"
#include "core/setdata.h"

namespace file_type_offers {

// Every option bit: what a type outside the offered list is given, since it
// is reached through another type's wizard (fixed width) or a mail source
// that brings its own options.
inline constexpr uint32_t kEveryOption = 0xFFF;

// The filter list for this machine, built and kept in the configuration.
// Throws ks::core::ConfigError when the configuration is damaged (the file
// is left as it is).
std::vector<ks::core::ImportFilter> OfferedFileTypes();

// The option mask of a file type.  A damaged configuration cannot say
// whether the filter program is installed: the mask is then read from the
// list for a machine without it, and *warning (when given) says why.
uint32_t OptionMaskOf(int32_t file_type, std::string* warning = nullptr);

// Narrows a queued record's options to what its file type offers: every
// option the type does not offer takes its default.
void ApplyFileTypeOptions(SETDATA& record, std::string* warning = nullptr);

// Remembers, per database, the file type last imported into it (its filter
// name, as "FilterString"), so that the next import can offer it first.  A
// configuration that cannot be read or written is left alone.
void RememberLastUsedFileType(uint32_t database, int32_t file_type);

}  // namespace file_type_offers
