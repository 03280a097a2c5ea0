#include "importers/text/column_header_lines.h"

#include <algorithm>
#include <limits>

namespace ks::text {
namespace {

std::string LowerAscii(std::string_view s) {
  std::string lower(s);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

bool IsCSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace

ColumnHeaderLines::ColumnHeaderLines(std::string_view text) : text_(text) {
  std::string_view rest = text_;
  while (!rest.empty()) {
    const size_t end = rest.find_first_of("\r\n");
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.empty()) continue;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) break;  // no lookup gets past this line
    const std::string_view key = line.substr(0, std::min(equals, kMaxKeyLength));
    const std::string_view value = line.substr(equals + 1).substr(0, kMaxValueLength);
    values_.try_emplace(LowerAscii(key), value);
  }
}

std::optional<std::string_view> ColumnHeaderLines::Find(std::string_view key) const {
  const auto it = values_.find(LowerAscii(key));
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

bool ColumnHeaderLines::FindInteger(std::string_view key, int32_t* value) const {
  const auto text = Find(key);
  if (!text) return false;
  *value = ParseLeadingInteger(*text);
  return true;
}

int32_t ParseLeadingInteger(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && IsCSpace(text[at])) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  int64_t magnitude = 0;
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    magnitude = std::min(kLimit, magnitude * 10 + (text[at] - '0'));
  }
  const int64_t signed_value = negative ? -magnitude : magnitude;
  if (signed_value > std::numeric_limits<int32_t>::max())
    return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(signed_value);
}

}  // namespace ks::text
