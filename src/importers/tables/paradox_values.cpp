#include "importers/tables/paradox_values.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "importers/tables/byte_order.h"
#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

constexpr int64_t kDayOneSinceEpoch = -719162;  // 0001-01-01 counted from 1970-01-01
constexpr int64_t kMillisecondsPerDay = 86'400'000;
constexpr CivilDate kFirstDate{1, 1, 1};
constexpr CivilDate kLastDate{9999, 12, 31};

bool AllZero(std::string_view bytes) {
  for (const char c : bytes) {
    if (c != 0) return false;
  }
  return true;
}

// A whole number of `bytes.size()` bytes, sign bit flipped.
int64_t FlippedInteger(std::string_view bytes) {
  const unsigned bits = static_cast<unsigned>(bytes.size()) * 8;
  const uint64_t sign = uint64_t{1} << (bits - 1);
  const uint64_t raw = BigEndian(bytes) ^ sign;
  // Two's complement of `bits` bits, widened.
  return (raw & sign) != 0 ? static_cast<int64_t>(raw | ~((sign << 1) - 1))
                           : static_cast<int64_t>(raw);
}

double FlippedDouble(std::string_view bytes) {
  uint64_t raw = BigEndian(bytes);
  raw = (raw & (uint64_t{1} << 63)) != 0 ? raw & ~(uint64_t{1} << 63) : ~raw;
  return std::bit_cast<double>(raw);
}

// Days since 0001-01-01 (that day is 1) on the calendar, or false when the
// day falls outside years 1 to 9999.
bool DateOfDay(int64_t day, CivilDate& date) {
  const int64_t since_epoch = day - 1 + kDayOneSinceEpoch;
  if (since_epoch < DaysSinceEpoch(kFirstDate) || since_epoch > DaysSinceEpoch(kLastDate))
    return false;
  date = DateFromDaysSinceEpoch(since_epoch);
  return true;
}

void AppendDay(int64_t day, std::string& out) {
  CivilDate date;
  if (DateOfDay(day, date)) {
    AppendDate(date, out);
  } else {
    AppendInteger(day, out);
  }
}

void AppendTimestamp(double milliseconds, std::string& out) {
  const double days = std::floor(milliseconds / kMillisecondsPerDay);
  CivilDate date;
  if (!std::isfinite(days) || std::fabs(days) > 1e7 ||
      !DateOfDay(static_cast<int64_t>(days), date)) {
    AppendDouble(milliseconds, out);
    return;
  }
  const auto seconds = static_cast<int>((milliseconds - days * kMillisecondsPerDay) / 1000);
  AppendDateTime(date, seconds < 86400 ? seconds : 86399, out);
}

void AppendTime(int64_t milliseconds, std::string& out) {
  if (milliseconds < 0 || milliseconds >= kMillisecondsPerDay) {
    AppendInteger(milliseconds, out);
    return;
  }
  const int64_t seconds = milliseconds / 1000;
  fmt::format_to(std::back_inserter(out), "{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60,
                 seconds % 60);
}

// 17 bytes: the first holds the sign (high bit set: positive) and the
// digits after the point; then 32 digits, one a nibble, the last `scale` of
// them after the point.  A negative number's digits are stored flipped
// (15 - digit).
bool AppendBcd(std::string_view bytes, unsigned scale, std::string& out) {
  const auto head = static_cast<uint8_t>(bytes[0]);
  const bool positive = (head & 0x80) != 0;
  // No digit stored and no sign: nothing was entered (Paradox writes the
  // scale there for an empty value).
  if (!positive && AllZero(bytes.substr(1))) return false;
  constexpr unsigned kDigits = 32;
  if (scale > kDigits) scale = kDigits;
  std::string text;
  if (!positive) text += '-';
  for (unsigned i = 0; i < kDigits; ++i) {
    const auto byte = static_cast<uint8_t>(bytes[1 + i / 2]);
    unsigned digit = i % 2 == 0 ? byte >> 4 : byte & 0x0F;
    if (!positive) digit = 15 - digit;
    if (digit > 9) digit = 9;  // not a digit: damaged, kept readable
    if (i == kDigits - scale) {
      if (text.empty() || text == "-") text += '0';
      text += '.';
    }
    const bool leading_zero = digit == 0 && i < kDigits - scale && (text.empty() || text == "-");
    if (!leading_zero) text += static_cast<char>('0' + digit);
  }
  if (text.empty() || text == "-") text += '0';
  AppendDecimalText(text, out);
  return true;
}

}  // namespace

bool AppendParadoxValue(const ParadoxField& field, std::string_view bytes, std::string& out) {
  if (AllZero(bytes)) return false;
  switch (field.type) {
    case ParadoxType::kShort:
    case ParadoxType::kLong:
    case ParadoxType::kAutoInc:
      AppendInteger(FlippedInteger(bytes), out);
      return true;
    case ParadoxType::kCurrency: {
      // Money is meant to the cent: as a currency value (ten-thousandths)
      // a stored 50.00000000000001 reads 50, as other sources' money does.
      if (bytes.size() != 8) return false;
      const double value = FlippedDouble(bytes);
      if (std::isfinite(value) && std::fabs(value) < 9e14) {
        AppendScaled(std::llround(value * 10000), 4, out);
      } else {
        AppendDouble(value, out);
      }
      return true;
    }
    case ParadoxType::kNumber:
      if (bytes.size() != 8) return false;
      AppendDouble(FlippedDouble(bytes), out);
      return true;
    case ParadoxType::kDate:
      AppendDay(FlippedInteger(bytes), out);
      return true;
    case ParadoxType::kTime:
      AppendTime(FlippedInteger(bytes), out);
      return true;
    case ParadoxType::kTimestamp:
      if (bytes.size() != 8) return false;
      AppendTimestamp(FlippedDouble(bytes), out);
      return true;
    case ParadoxType::kLogical:
      AppendBoolean((static_cast<uint8_t>(bytes[0]) & 0x7F) != 0, out);
      return true;
    case ParadoxType::kBcd:
      return AppendBcd(bytes, field.size, out);
    default:
      return false;  // text, memos and binary values are the cursor's
  }
}

}  // namespace ks::tables
