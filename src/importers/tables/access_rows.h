// Reading Access rows raw through libmdb, for the cursor and for the checks
// made before libmdb reads the catalog: the values of the row libmdb has
// just fetched, and long values (memo, OLE, property blobs) followed along
// their chain of pages with every step checked.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/access_database.h"

namespace ks::tables::access {

// Splits the row mdb_fetch_row has just read into `fields` (one per column
// of `table`; colnum -1 where the row holds no value).  False when the row
// cannot be split.
bool SplitFetchedRow(MdbTableDef* table, std::vector<MdbField>& fields);

enum class LongValueExtent {
  kDeclaredLength,  // the value: its chain up to the length its header gives
  kWholeChain,      // all the chain, as libmdb reads a property blob
};

// Reads the long value whose 12-byte header starts `value` (the column's
// bytes in the row) into `bytes`.  False when the chain leaves the file,
// names a missing row, loops, or has flags libmdb does not know.
bool ReadLongValue(MdbHandle* mdb, const AccessHeader& header, std::string_view value,
                   LongValueExtent extent, std::string& bytes);

}  // namespace ks::tables::access
