#include "importers/tables/access_catalog_check.h"

#include <cstring>
#include <vector>

#include "importers/tables/access_property_blob.h"
#include "importers/tables/access_rows.h"

namespace ks::tables::access {
namespace {

constexpr uint64_t kCatalogPage = 2;

}  // namespace

void CheckCatalogProperties(MdbHandle* mdb, const AccessHeader& header) {
  const TableError damaged(TableError::Kind::kDamaged, "the catalog of the database is damaged");
  MdbCatalogEntry catalog{};
  catalog.mdb = mdb;
  catalog.object_type = MDB_TABLE;
  catalog.table_pg = kCatalogPage;
  std::strcpy(catalog.object_name, "MSysObjects");
  const TableDefPtr table = ReadTableDefinition(&catalog);
  if (table == nullptr) throw damaged;
  int properties = -1;
  for (unsigned i = 0; i < table->num_cols; ++i) {
    const auto* column = static_cast<MdbColumn*>(g_ptr_array_index(table->columns, i));
    if (g_ascii_strcasecmp(column->name, "LvProp") == 0) properties = static_cast<int>(i);
  }
  if (properties < 0) return;
  std::vector<MdbField> fields(table->num_cols);
  std::string blob;
  const auto page_size = static_cast<size_t>(mdb->fmt->pg_size);
  mdb_rewind_table(table.get());
  while (mdb_fetch_row(table.get())) {
    if (!SplitFetchedRow(table.get(), fields)) throw damaged;
    for (const MdbField& field : fields) {
      if (field.colnum != properties || field.is_null != 0) continue;
      if (field.start < 0 || field.siz < 0 ||
          static_cast<size_t>(field.start) + static_cast<size_t>(field.siz) > page_size) {
        throw damaged;
      }
      const std::string_view value(reinterpret_cast<const char*>(mdb->pg_buf) + field.start,
                                   static_cast<size_t>(field.siz));
      if (!ReadLongValue(mdb, header, value, LongValueExtent::kWholeChain, blob) || !IsSafePropertyBlob(blob)) {
        throw damaged;
      }
    }
  }
}

}  // namespace ks::tables::access
