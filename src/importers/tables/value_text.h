// How a table's values become text, the same for every driver and never by
// the machine's locale, so that an import reads the same everywhere:
//   whole numbers    decimal, a minus sign, no grouping: -1234
//   other numbers    the shortest decimal text that reads back as the same
//                    value, with a point: 3.25, 0.1, 1e+20
//   fixed decimals   (dBase N, currency, SQL DECIMAL) as the source's digits,
//                    trailing zeros after the point and a bare point dropped:
//                    12.50 -> 12.5, 7.00 -> 7
//   dates            YYYY-MM-DD; with a time of day YYYY-MM-DD HH:MM:SS
//                    (a date-time at midnight keeps its 00:00:00)
//   booleans         True, False
//   text             UTF-8; a memo gives its whole text
//   null             no value (the document then shows "Name[  ]")
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ks::tables {

struct CivilDate {
  int year = 1;
  int month = 1;
  int day = 1;
};

// Each formatter appends to `out`.
void AppendInteger(int64_t value, std::string& out);
void AppendDouble(double value, std::string& out);
// Digits as a fixed-decimal source stores them ("  12.50", "-3.", "+4"):
// blanks trimmed, a leading "+" dropped, trailing zeros after the point and
// a point left alone dropped.
void AppendDecimalText(std::string_view digits, std::string& out);
// `units` of 10^-scale_digits, as a fixed-decimal number (a currency of
// Access and FoxPro is ten-thousandths: scale 4), by the rule above.
void AppendScaled(int64_t units, int scale_digits, std::string& out);
void AppendDate(CivilDate date, std::string& out);
void AppendDateTime(CivilDate date, int seconds_of_day, std::string& out);
void AppendBoolean(bool value, std::string& out);

// Calendar arithmetic on the proleptic Gregorian calendar.
CivilDate DateFromDaysSinceEpoch(int64_t days);  // 1970-01-01 is day 0
int64_t DaysSinceEpoch(CivilDate date);
// The day of a Julian day number (FoxPro date-times, Paradox timestamps
// count from other epochs and convert through DaysSinceEpoch).
CivilDate DateFromJulianDay(int64_t julian_day);
bool IsValidDate(CivilDate date);

// A date and time counted in days (with a fraction) since 1899-12-30, as
// Access and Excel (1900 system) keep them.  `with_time` forces the time of
// day even at midnight.
void AppendSerialDateTime(double serial, bool with_time, std::string& out);

}  // namespace ks::tables
