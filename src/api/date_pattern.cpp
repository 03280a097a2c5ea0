#include "api/date_pattern.h"

#include <iterator>

namespace {

// One pattern per pair of codes (0-1, 2-3, ... 28-29).  The first six hold
// "%s" where the separator goes and "%%" for a literal percent sign, the way
// they were always written; the others are used as they are.  Codes 16-17
// use "&" instead of "%", so they print their letters literally; hosts have
// always seen that and it stays.
constexpr std::string_view kPatterns[] = {
    "%%m%s%%d%s%%y", "%%d%s%%m%s%%y", "%%y%s%%m%s%%d", "%%m%s%%d%s%%Y", "%%d%s%%m%s%%Y",
    "%%Y%s%%m%s%%d", "%b %d, %Y",     "%d %b %y",      "&d &b &Y",      "%B %d, %Y",
    "%d %B %Y",      "%B %d. %Y",     "%b %d. %Y",     "%d. %b %Y",     "%d. %B %Y",
};
constexpr size_t kPatternsWithSeparator = 6;

// Expands a printf-style template: "%s" becomes `separator`, "%%" becomes "%".
std::string FillSeparator(std::string_view templ, std::string_view separator) {
  std::string result;
  for (size_t i = 0; i < templ.size(); ++i) {
    if (templ[i] == '%' && i + 1 < templ.size()) {
      if (templ[i + 1] == 's') {
        result += separator;
        ++i;
        continue;
      }
      if (templ[i + 1] == '%') {
        result += '%';
        ++i;
        continue;
      }
    }
    result += templ[i];
  }
  return result;
}

}  // namespace

std::string DatePattern(uint32_t code, std::string_view separator) {
  size_t row = (code & 0xFFu) / 2;
  if (row >= std::size(kPatterns)) row = 0;
  if (row < kPatternsWithSeparator) return FillSeparator(kPatterns[row], separator);
  return std::string(kPatterns[row]);
}
