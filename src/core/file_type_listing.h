// What each offered file type is and which import options it offers, for a
// host that lists the types to its user (or to a script).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/import_filter.h"

namespace ks::core {

struct FileTypeOffer {
  int32_t file_type = 0;
  std::string name;
  std::string extensions;
  std::string description;
  uint32_t option_mask = 0;
  std::vector<std::string_view> offered_options;  // row labels, in row order
};

// One entry per filter, in list order.
std::vector<FileTypeOffer> DescribeFileTypes(std::span<const ImportFilter> filters);

}  // namespace ks::core
