// The check made before libmdb reads an Access catalog: libmdb follows the
// page chain of each catalog row's property blob (LvProp) to its end
// without looking for loops, then parses the blob trusting every length in
// it, so that one damaged blob makes it loop for ever or read out of
// bounds.  Here the chains and the blobs are read first, by the same rules,
// with every step checked.
#pragma once

#include <string_view>

#include "importers/tables/access_database.h"

namespace ks::tables::access {

// Throws TableError kDamaged when a property blob of the catalog would
// lead libmdb astray.
void CheckCatalogProperties(MdbHandle* mdb, const AccessHeader& header);

// Whether libmdb can parse `blob` as a property blob ("KKD" or "MR2", then
// records of names and of property blocks) within its bounds and to its end.
bool IsSafePropertyBlob(std::string_view blob);

}  // namespace ks::tables::access
