// How the values of a Paradox record that are not text or memos become
// text (value_text.h gives the rules).
//
// Paradox keeps numbers big-endian with the sign bit flipped, so that the
// bytes sort as the numbers do; all bytes zero is a null.  Negative doubles
// (and BCD digits) have every bit flipped instead.  Dates count days from
// 0001-01-01 (day 1); times count milliseconds since midnight; timestamps
// are doubles counting milliseconds from the same origin as dates.
//
// Decisions where the format leaves a choice:
//   currency   a double with a display format: written as a currency value,
//              rounded to ten-thousandths, trailing zeros dropped (12.5);
//   BCD        decoded to its exact digits, fixed decimal (12.50 -> 12.5);
//   time       HH:MM:SS, milliseconds dropped as for timestamps;
//   a date or timestamp outside years 1 to 9999 (Paradox accepts years
//              before 1) gives the stored number itself (days, or
//              milliseconds), as value_text does beyond any calendar.
#pragma once

#include <string>
#include <string_view>

#include "importers/tables/paradox_header.h"

namespace ks::tables {

// Appends the text of the value `bytes` (the field's bytes of the record)
// of a field of a type with no text, memo or binary content.  Returns
// false, appending nothing, for a null.
bool AppendParadoxValue(const ParadoxField& field, std::string_view bytes, std::string& out);

}  // namespace ks::tables
