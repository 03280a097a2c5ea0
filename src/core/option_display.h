// The texts the import dialog shows for option values, and the choice lists
// of its two-valued rows.  Hosts have always seen exactly these texts, so
// they are kept as they stand (including "Top of file" in lower case).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/import_options.h"

namespace ks::core {

// The choices of the two-valued rows, each followed by a line feed.
inline constexpr std::string_view kFileOriginChoices = "Windows (ANSI)\nDOS (OEM)\n";
inline constexpr std::string_view kYesNoChoices = "Yes\nNo\n";
inline constexpr std::string_view kSortOrderChoices = "Ascending\nDescending\n";

std::string_view FileOriginText(bool ansi);  // "Windows (ANSI)" or "DOS (OEM)"

// "End of File", "After Current Document", "After Document: <name>",
// "End of Current Document" or "Top of file".  Every other code, 5 included,
// shows as "End of File": no place has ever been shown for 5.
std::string ImportLocationText(int32_t location, std::string_view named_document);

// The first set bit in the order page break, blank line, every N lines
// ("Every <N> lines"), string; "None" when no delimiter bit is set.
std::string DocumentDelimiterText(int32_t delimiter_flags, int32_t delimiter_lines);

// "No" when no entry form is used, else the form's name.
std::string EntryFormText(bool use_entry_form, std::string_view entry_form_name);

std::string_view YesNoText(bool yes);
std::string_view SortOrderText(SortOrder order);  // "Ascending" or "Descending"

}  // namespace ks::core
