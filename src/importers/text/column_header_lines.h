// The KEY=VALUE lines of a column header string, looked up the way the
// settings of delimited and fixed-width imports have always been looked up.
//
// Lines are split at every CR and LF (empty lines vanish).  In a line the key
// is the text before the first "=", the value everything after it; neither is
// trimmed.  Keys match without regard to ASCII case and the first occurrence
// of a key counts.  A lookup walks the lines in order and gives up at the
// first line without "=", so a key written after such a line is never found.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ks::text {

class ColumnHeaderLines {
 public:
  // Longest value and key that a lookup sees; longer ones are cut to this.
  static constexpr size_t kMaxValueLength = 1023;
  static constexpr size_t kMaxKeyLength = 255;

  explicit ColumnHeaderLines(std::string_view text);

  // The value of `key`, or nothing when the key cannot be found.
  std::optional<std::string_view> Find(std::string_view key) const;

  // The value of `key` read as an integer (ParseLeadingInteger).  False, with
  // *value untouched, when the key cannot be found.
  bool FindInteger(std::string_view key, int32_t* value) const;

 private:
  std::string text_;  // the values below point into this copy
  // Lower-cased key -> value, first occurrence only, and only for the lines
  // before the first line without "=" (the only ones a lookup reaches).
  std::unordered_map<std::string, std::string_view> values_;
};

// Reads a decimal integer the way the C library's atoi does: leading white
// space, an optional sign, then digits up to the first other character; text
// that starts with no digit reads as 0.  Values beyond 32 bits saturate.
int32_t ParseLeadingInteger(std::string_view text);

}  // namespace ks::text
