#include "importers/mail/maildir_name.h"

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Where the info part (":2,FLAGS") begins, or npos.  ":" is the separator
// the naming rule gives; "!" and ";" stand for it where ":" cannot be used,
// and only count before "1," or "2," so that a unique name holding them
// stays whole.
size_t InfoStart(std::string_view name) {
  const size_t colon = name.rfind(':');
  if (colon != std::string_view::npos) return colon;
  for (size_t at = name.size(); at-- > 0;) {
    if ((name[at] == '!' || name[at] == ';') && name.size() - at >= 3 &&
        (name[at + 1] == '1' || name[at + 1] == '2') && name[at + 2] == ',') {
      return at;
    }
  }
  return std::string_view::npos;
}

// The leading decimal number of `text`; nothing when it does not start with
// a digit or the number does not fit 64 bits.
std::optional<uint64_t> LeadingSeconds(std::string_view text) {
  if (text.empty() || !IsDigit(text[0])) return std::nullopt;
  uint64_t value = 0;
  for (const char c : text) {
    if (!IsDigit(c)) break;
    const auto digit = static_cast<uint64_t>(c - '0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return value;
}

}  // namespace

std::optional<MaildirName> ParseMaildirName(std::string_view file_name) {
  if (file_name.empty() || file_name[0] == '.') return std::nullopt;
  if (file_name.find('/') != std::string_view::npos ||
      file_name.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  MaildirName name;
  const size_t info = InfoStart(file_name);
  name.unique = file_name.substr(0, info);
  if (info != std::string_view::npos) {
    name.has_info = true;
    const std::string_view rest = file_name.substr(info + 1);
    if (rest.size() >= 2 && rest[0] == '2' && rest[1] == ',') name.flags = rest.substr(2);
  }
  if (name.unique.empty()) return std::nullopt;
  // The time part stops at the first "." (or "_" in some agents' names).
  name.delivered = LeadingSeconds(name.unique);
  return name;
}

int CompareNamesNaturally(std::string_view a, std::string_view b) {
  size_t i = 0;
  size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (IsDigit(a[i]) && IsDigit(b[j])) {
      // Compare the two numbers without converting them: leading zeros
      // skipped, then the longer is the larger, then digit by digit.
      size_t a_start = i;
      size_t b_start = j;
      while (a_start < a.size() && a[a_start] == '0') ++a_start;
      while (b_start < b.size() && b[b_start] == '0') ++b_start;
      size_t a_end = a_start;
      size_t b_end = b_start;
      while (a_end < a.size() && IsDigit(a[a_end])) ++a_end;
      while (b_end < b.size() && IsDigit(b[b_end])) ++b_end;
      if (a_end - a_start != b_end - b_start) return a_end - a_start < b_end - b_start ? -1 : 1;
      const int digits =
          a.substr(a_start, a_end - a_start).compare(b.substr(b_start, b_end - b_start));
      if (digits != 0) return digits < 0 ? -1 : 1;
      // Equal numbers: the one written with fewer leading zeros first, so
      // that different names never compare equal.
      if (a_end - i != b_end - j) return a_end - i < b_end - j ? -1 : 1;
      i = a_end;
      j = b_end;
      continue;
    }
    if (a[i] != b[j])
      return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[j]) ? -1 : 1;
    ++i;
    ++j;
  }
  if (i == a.size() && j == b.size()) return 0;
  return i == a.size() ? -1 : 1;
}

bool DeliveredBefore(const DeliveryKey& a, const DeliveryKey& b) {
  if (a.second != b.second) return a.second < b.second;
  return CompareNamesNaturally(a.unique, b.unique) < 0;
}
