// Whether libmdb can parse a property blob (the LvProp of a catalog row:
// "KKD" or "MR2", then records of names and of property blocks) within its
// bounds and to its end.  libmdb trusts every length in a blob: a record of
// length 0 makes it loop for ever, a long one read past the blob.
#pragma once

#include <string_view>

namespace ks::tables::access {

bool IsSafePropertyBlob(std::string_view blob);

}  // namespace ks::tables::access
