// JSON string escaping for the host's --json output.
#pragma once

#include <string>
#include <string_view>

namespace ksimp {

// The text as a quoted JSON string.  Valid UTF-8 passes through; a byte that
// is not part of a valid UTF-8 sequence is written as \u00XX (its Latin-1
// reading), so that any document text yields valid JSON.
std::string JsonString(std::string_view text);

}  // namespace ksimp
