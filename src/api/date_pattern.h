// Date patterns for message dates: the e-mail importers write a message's
// date with the strftime pattern that the user's date-format code selects.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The strftime pattern of date-format `code` (only its low byte counts).
// Numeric formats put `separator` between day, month and year.
std::string DatePattern(uint32_t code, std::string_view separator);
