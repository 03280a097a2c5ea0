#include "importers/tables/value_text.h"

#include <cmath>
#include <cstdlib>

#include <fmt/format.h>

namespace ks::tables {
namespace {

// Drops trailing zeros after a point, and the point when nothing follows it.
void TrimFraction(std::string& out, size_t from) {
  const size_t point = out.find('.', from);
  if (point == std::string::npos) return;
  size_t end = out.size();
  while (end > point + 1 && out[end - 1] == '0') --end;
  if (end == point + 1) end = point;
  out.resize(end);
}

}  // namespace

void AppendInteger(int64_t value, std::string& out) { fmt::format_to(std::back_inserter(out), "{}", value); }

void AppendDouble(double value, std::string& out) {
  if (value == 0) value = 0;  // no "-0"
  fmt::format_to(std::back_inserter(out), "{}", value);
}

void AppendDecimalText(std::string_view digits, std::string& out) {
  while (!digits.empty() && (digits.front() == ' ' || digits.front() == '\0')) digits.remove_prefix(1);
  while (!digits.empty() && (digits.back() == ' ' || digits.back() == '\0')) digits.remove_suffix(1);
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  const size_t from = out.size();
  out.append(digits);
  TrimFraction(out, from);
  if (out.size() > from && out.find_first_not_of("-0.", from) == std::string::npos &&
      out.find('0', from) != std::string::npos) {
    out.resize(from);  // "-0", "-0.0": zero has no sign
    out += '0';
  }
}

void AppendScaled(int64_t units, int scale_digits, std::string& out) {
  if (scale_digits <= 0) {
    AppendInteger(units, out);
    return;
  }
  const bool negative = units < 0;
  const uint64_t magnitude = negative ? 0 - static_cast<uint64_t>(units) : static_cast<uint64_t>(units);
  uint64_t scale = 1;
  for (int i = 0; i < scale_digits; ++i) scale *= 10;
  const size_t from = out.size();
  if (negative) out += '-';
  fmt::format_to(std::back_inserter(out), "{}.{:0{}}", magnitude / scale, magnitude % scale, scale_digits);
  TrimFraction(out, from);
  if (out.size() == from + 2 && out[from] == '-' && out[from + 1] == '0') out.erase(from, 1);
}

void AppendDate(CivilDate date, std::string& out) {
  fmt::format_to(std::back_inserter(out), "{:04}-{:02}-{:02}", date.year, date.month, date.day);
}

void AppendDateTime(CivilDate date, int seconds_of_day, std::string& out) {
  AppendDate(date, out);
  fmt::format_to(std::back_inserter(out), " {:02}:{:02}:{:02}", seconds_of_day / 3600,
                 seconds_of_day / 60 % 60, seconds_of_day % 60);
}

void AppendBoolean(bool value, std::string& out) { out += value ? "True" : "False"; }

// Days from and to the civil calendar, after Howard Hinnant's algorithms.
CivilDate DateFromDaysSinceEpoch(int64_t days) {
  days += 719468;
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const int64_t day_of_era = days - era * 146097;
  const int64_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t month_index = (5 * day_of_year + 2) / 153;
  const int day = static_cast<int>(day_of_year - (153 * month_index + 2) / 5 + 1);
  const int month = static_cast<int>(month_index < 10 ? month_index + 3 : month_index - 9);
  return {static_cast<int>(year_of_era + era * 400 + (month <= 2 ? 1 : 0)), month, day};
}

int64_t DaysSinceEpoch(CivilDate date) {
  const int64_t year = date.year - (date.month <= 2 ? 1 : 0);
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const int64_t year_of_era = year - era * 400;
  const int64_t day_of_year = (153 * (date.month > 2 ? date.month - 3 : date.month + 9) + 2) / 5 + date.day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

CivilDate DateFromJulianDay(int64_t julian_day) {
  // Julian day 2440588 is 1970-01-01.
  return DateFromDaysSinceEpoch(julian_day - 2440588);
}

bool IsValidDate(CivilDate date) {
  if (date.month < 1 || date.month > 12 || date.day < 1) return false;
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (date.year % 4 == 0 && date.year % 100 != 0) || date.year % 400 == 0;
  return date.day <= kDays[date.month - 1] + (date.month == 2 && leap ? 1 : 0);
}

void AppendSerialDateTime(double serial, bool with_time, std::string& out) {
  if (!std::isfinite(serial) || std::fabs(serial) > 3e6) {
    AppendDouble(serial, out);  // beyond any calendar: the number itself
    return;
  }
  // The whole part counts days from 1899-12-30; the fraction is the time of
  // day, also before that day (-1.25 is 1899-12-29 06:00).
  double whole = std::trunc(serial);
  int64_t seconds = std::llround(std::fabs(serial - whole) * 86400.0);
  if (seconds >= 86400) {
    seconds -= 86400;
    whole += serial < 0 ? -1 : 1;
  }
  const CivilDate date = DateFromDaysSinceEpoch(static_cast<int64_t>(whole) - 25569);
  if (with_time || seconds != 0) {
    AppendDateTime(date, static_cast<int>(seconds), out);
  } else {
    AppendDate(date, out);
  }
}

}  // namespace ks::tables
