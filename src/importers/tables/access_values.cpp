#include "importers/tables/access_values.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <fmt/format.h>

#include "core/utf16_decoder.h"
#include "importers/tables/value_text.h"

namespace ks::tables::access {
namespace {

template <typename Float>
Float ReadFloat(std::string_view bytes) {
  static_assert(sizeof(Float) == 4 || sizeof(Float) == 8);
  using Bits = std::conditional_t<sizeof(Float) == 4, uint32_t, uint64_t>;
  const Bits bits = static_cast<Bits>(LittleEndian(bytes, sizeof(Float)));
  Float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// Parses `digits` (ASCII decimal, nothing else) into `value`.
bool ParseDigits(std::string_view digits, uint64_t& value) {
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return false;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return result.ec == std::errc() && result.ptr == digits.data() + digits.size();
}

}  // namespace

void AppendJet4Text(std::string_view bytes, core::Utf16Decoder& utf16, std::string& out) {
  if (bytes.size() < 2 || static_cast<unsigned char>(bytes[0]) != 0xFF ||
      static_cast<unsigned char>(bytes[1]) != 0xFE) {
    utf16.Append(bytes, true, out);
    return;
  }
  // Compressed: widen the one-byte runs to UTF-16LE, then decode the whole.
  std::string wide;
  wide.reserve(bytes.size() * 2);
  bool compressed = true;
  for (size_t i = 2; i < bytes.size(); ++i) {
    const char byte = bytes[i];
    if (byte == '\0') {
      compressed = !compressed;
    } else if (compressed) {
      wide += byte;
      wide += '\0';
    } else {
      wide += byte;
    }
  }
  utf16.Append(wide, true, out);
}

bool AppendByte(std::string_view bytes, std::string& out) {
  if (bytes.empty()) return false;
  AppendInteger(static_cast<unsigned char>(bytes[0]), out);
  return true;
}

bool AppendInt16(std::string_view bytes, std::string& out) {
  if (bytes.size() < 2) return false;
  AppendInteger(static_cast<int16_t>(LittleEndian(bytes, 2)), out);
  return true;
}

bool AppendInt32(std::string_view bytes, std::string& out) {
  if (bytes.size() < 4) return false;
  AppendInteger(static_cast<int32_t>(LittleEndian(bytes, 4)), out);
  return true;
}

bool AppendSingle(std::string_view bytes, std::string& out) {
  if (bytes.size() < 4) return false;
  // The shortest text that reads back as the same single, not as the same
  // double: 0.1 rather than 0.100000001490116.
  const float value = ReadFloat<float>(bytes);
  if (!std::isfinite(value)) {
    AppendDouble(value, out);
    return true;
  }
  const std::string text = fmt::format("{}", value);
  double widened = value;
  std::from_chars(text.data(), text.data() + text.size(), widened);
  AppendDouble(widened, out);
  return true;
}

bool AppendDoubleValue(std::string_view bytes, std::string& out) {
  if (bytes.size() < 8) return false;
  AppendDouble(ReadFloat<double>(bytes), out);
  return true;
}

bool AppendMoney(std::string_view bytes, std::string& out) {
  if (bytes.size() < 8) return false;
  AppendScaled(static_cast<int64_t>(LittleEndian(bytes, 8)), 4, out);
  return true;
}

bool AppendNumeric(std::string_view bytes, int scale, std::string& out) {
  if (bytes.size() < 17) return false;
  unsigned __int128 magnitude = 0;
  for (size_t word = 0; word < 4; ++word) {
    magnitude = magnitude << 32 | LittleEndian(bytes.substr(1 + 4 * word), 4);
  }
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  } while (magnitude != 0);
  // A damaged column's scale: the digits as they are.
  const size_t places = scale > 0 && scale <= 38 ? static_cast<size_t>(scale) : 0;
  if (places > 0) {
    if (digits.size() <= places) digits.insert(0, places + 1 - digits.size(), '0');
    digits.insert(digits.size() - places, 1, '.');
  }
  if (bytes[0] != '\0') digits.insert(digits.begin(), '-');
  AppendDecimalText(digits, out);
  return true;
}

bool AppendDateTimeValue(std::string_view bytes, std::string& out) {
  if (bytes.size() < 8) return false;
  AppendSerialDateTime(ReadFloat<double>(bytes), false, out);
  return true;
}

bool AppendExtendedDateTime(std::string_view bytes, std::string& out) {
  if (bytes.size() < 41 || bytes[19] != ':' || bytes[39] != ':') return false;
  uint64_t days = 0;
  uint64_t ticks = 0;
  if (!ParseDigits(bytes.substr(0, 19), days) || !ParseDigits(bytes.substr(20, 19), ticks)) return false;
  constexpr uint64_t kTicksPerDay = 864'000'000'000;
  constexpr int64_t kDaysBeforeEpoch = 719'162;  // 0001-01-01 to 1970-01-01
  if (days > 3'652'058 || ticks >= kTicksPerDay) return false;  // beyond 9999-12-31
  const CivilDate date = DateFromDaysSinceEpoch(static_cast<int64_t>(days) - kDaysBeforeEpoch);
  const int seconds = static_cast<int>(ticks / 10'000'000);
  if (ticks == 0) {
    AppendDate(date, out);
  } else {
    AppendDateTime(date, seconds, out);
  }
  return true;
}

bool AppendGuid(std::string_view bytes, std::string& out) {
  if (bytes.size() < 16) return false;
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  fmt::format_to(std::back_inserter(out), "{{{:08X}-{:04X}-{:04X}-", LittleEndian(bytes, 4),
                 LittleEndian(bytes.substr(4), 2), LittleEndian(bytes.substr(6), 2));
  for (size_t i = 8; i < 16; ++i) {
    if (i == 10) out += '-';
    fmt::format_to(std::back_inserter(out), "{:02X}", byte(i));
  }
  out += '}';
  return true;
}

bool UnwrapCalculated(std::string_view bytes, std::string_view& result) {
  constexpr size_t kHeader = 20;
  if (bytes.size() < kHeader) return false;
  const uint64_t length = LittleEndian(bytes.substr(16), 4);
  if (length > bytes.size() - kHeader) return false;
  result = bytes.substr(kHeader, length);
  return true;
}

}  // namespace ks::tables::access
