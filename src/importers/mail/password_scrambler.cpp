#include "importers/mail/password_scrambler.h"

#include <cstdint>

namespace {

// Marks the scrambled form and its version, so that a later scheme can
// still read this one.
constexpr std::string_view kMarker = "~1";
constexpr std::string_view kKey = "Kestro e-mail profile";
constexpr char kHexDigits[] = "0123456789abcdef";

uint8_t Mask(size_t index) {
  return static_cast<uint8_t>(static_cast<uint8_t>(kKey[index % kKey.size()]) ^
                              static_cast<uint8_t>(index * 31u + 7u));
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::string ScramblePassword(std::string_view password) {
  if (password.empty()) return {};
  std::string stored(kMarker);
  for (size_t i = 0; i < password.size(); ++i) {
    const auto byte = static_cast<uint8_t>(static_cast<uint8_t>(password[i]) ^ Mask(i));
    stored += kHexDigits[byte >> 4];
    stored += kHexDigits[byte & 0x0F];
  }
  return stored;
}

std::optional<std::string> UnscramblePassword(std::string_view stored) {
  if (stored.empty()) return std::string();
  if (!stored.starts_with(kMarker)) return std::nullopt;
  const std::string_view digits = stored.substr(kMarker.size());
  if (digits.empty() || digits.size() % 2 != 0) return std::nullopt;
  std::string password;
  password.reserve(digits.size() / 2);
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = HexValue(digits[i]);
    const int low = HexValue(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    const auto byte = static_cast<uint8_t>((high << 4) | low);
    password += static_cast<char>(byte ^ Mask(i / 2));
  }
  return password;
}
