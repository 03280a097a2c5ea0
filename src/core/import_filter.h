// ImportFilter: one entry of the list of file types offered to the user.  It
// ties a display name and description to the file type number that selects
// the importer, to the extensions used when browsing for such files, and to
// the mask of the options the type offers (option_mask.h).
#pragma once

#include <cstdint>
#include <string>

namespace ks::core {

// Kept with every filter in the stored list, whose readers expect it there.
inline constexpr int32_t kFilterStoredConstant = 5;

struct ImportFilter {
  std::string name;  // shown as is: the list has no prefix of its own
  std::string description;
  std::string extensions;  // blank-separated, without dots; "*" for any file
  int32_t file_type = 0;
  uint32_t option_mask = 0;
  int32_t stored_constant = kFilterStoredConstant;

  bool operator==(const ImportFilter&) const = default;
};

}  // namespace ks::core
