#include "importers/text/fixed_width_fields.h"

#include <algorithm>

namespace ks::text {

void CutFixedWidthLine(std::string_view line, std::span<const int32_t> widths,
                       std::vector<std::string>* values) {
  if (widths.empty()) return;
  values->clear();
  std::string_view rest = line;
  for (const int32_t width : widths) {
    const size_t take = std::min(rest.size(), static_cast<size_t>(std::max(width, 0)));
    values->emplace_back(rest.substr(0, take));
    rest.remove_prefix(take);
  }
  if (!rest.empty()) values->emplace_back(rest);
}

}  // namespace ks::text
