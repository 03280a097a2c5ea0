#include "importers/text/fixed_width_fields.h"

#include <algorithm>

namespace ks::text {
namespace {

// Bytes of the first `count` characters of `text` (all of it when shorter).
size_t BytesOfCharacters(std::string_view text, size_t count) {
  size_t at = 0;
  for (size_t taken = 0; taken < count && at < text.size(); ++taken) {
    ++at;
    while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) ++at;
  }
  return at;
}

}  // namespace

void CutFixedWidthLine(std::string_view line, std::span<const int32_t> widths,
                       std::vector<std::string>* values) {
  if (widths.empty()) return;
  values->clear();
  std::string_view rest = line;
  for (const int32_t width : widths) {
    const size_t take = BytesOfCharacters(rest, static_cast<size_t>(std::max(width, 0)));
    values->emplace_back(rest.substr(0, take));
    rest.remove_prefix(take);
  }
  if (!rest.empty()) values->emplace_back(rest);
}

}  // namespace ks::text
