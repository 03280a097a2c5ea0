#include "core/file_type_listing.h"

#include "core/option_mask.h"

namespace ks::core {

std::vector<FileTypeOffer> DescribeFileTypes(std::span<const ImportFilter> filters) {
  std::vector<FileTypeOffer> offers;
  offers.reserve(filters.size());
  for (const ImportFilter& filter : filters) {
    offers.push_back({filter.file_type, filter.name, filter.extensions, filter.description,
                      filter.option_mask, OfferedOptionLabels(filter.option_mask)});
  }
  return offers;
}

}  // namespace ks::core
