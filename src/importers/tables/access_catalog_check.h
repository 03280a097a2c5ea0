// The check made before libmdb reads an Access catalog: libmdb follows the
// page chain of each catalog row's property blob (LvProp) to its end
// without looking for loops, then parses the blob trusting every length in
// it (access_property_blob.h).  Here the chains and the blobs are read
// first, by the same rules, with every step checked.
#pragma once

#include "importers/tables/access_database.h"

namespace ks::tables::access {

// Throws TableError kDamaged when a property blob of the catalog would
// lead libmdb astray.
void CheckCatalogProperties(MdbHandle* mdb, const AccessHeader& header);

}  // namespace ks::tables::access
