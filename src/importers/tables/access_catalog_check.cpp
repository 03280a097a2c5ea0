#include "importers/tables/access_catalog_check.h"

#include <cstring>
#include <vector>

#include "importers/tables/access_rows.h"

namespace ks::tables::access {
namespace {

constexpr uint64_t kCatalogPage = 2;

uint32_t Number(std::string_view bytes, size_t at, size_t size) {
  uint32_t value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

// The bytes libmdb reads for a property of type `type` beside its size.
bool PropertyFits(int type, uint32_t size) {
  switch (type) {
    case MDB_BOOL:
    case MDB_BYTE:
      return size >= 1;
    case MDB_INT:
      return size >= 2;
    case MDB_LONGINT:
    case MDB_COMPLEX:
    case MDB_FLOAT:
      return size >= 4;
    case MDB_DOUBLE:
    case MDB_DATETIME:
      return size >= 8;
    case MDB_TEXT:
    case MDB_MEMO:
    case MDB_BINARY:
    case MDB_OLE:
      return true;
    default:
      // Currency, decimal and GUID values libmdb reads from its page
      // buffer instead of the blob; no property of a real file has them.
      return false;
  }
}

// A list of names: each a 16-bit length and that many bytes.
bool NamesFit(std::string_view block, size_t& count) {
  count = 0;
  for (size_t at = 0; at < block.size(); ++count) {
    if (block.size() - at < 2) return false;
    const uint32_t length = Number(block, at, 2);
    at += 2;
    if (length > block.size() - at) return false;
    at += length;
  }
  return true;
}

// A block of properties: its name, then entries of a 16-bit length, the
// type, the name's number and the value's size.  libmdb stops at an entry
// naming no name or reaching past the block.
bool PropertiesFit(std::string_view block, size_t names) {
  if (block.size() < 6) return false;
  size_t at = 6 + Number(block, 4, 2);
  if (at > block.size()) return false;
  while (at < block.size()) {
    if (block.size() - at < 8) return false;
    const uint32_t length = Number(block, at, 2);
    const int type = static_cast<unsigned char>(block[at + 3]);
    const uint32_t size = Number(block, at + 6, 2);
    if (Number(block, at + 4, 2) >= names || at + 8 + size > block.size()) return true;
    if (length < 8 || !PropertyFits(type, size)) return false;
    at += length;
  }
  return true;
}

}  // namespace

bool IsSafePropertyBlob(std::string_view blob) {
  if (blob.size() < 4 || (blob.substr(0, 4) != std::string_view("KKD\0", 4) &&
                          blob.substr(0, 4) != std::string_view("MR2\0", 4))) {
    return false;
  }
  bool have_names = false;
  size_t names = 0;
  for (size_t at = 4; at < blob.size();) {
    if (blob.size() - at < 6) return false;
    const uint32_t length = Number(blob, at, 4);
    const uint32_t type = Number(blob, at + 4, 2);
    if (length < 6 || length > blob.size() - at) return false;
    const std::string_view block = blob.substr(at + 6, length - 6);
    if (type == 0x80) {
      have_names = NamesFit(block, names);
      if (!have_names) return false;
    } else if (type > 2 || !have_names || !PropertiesFit(block, names)) {
      return false;
    }
    at += length;
  }
  return true;
}

void CheckCatalogProperties(MdbHandle* mdb, const AccessHeader& header) {
  const TableError damaged(TableError::Kind::kDamaged, "the catalog of the database is damaged");
  MdbCatalogEntry catalog{};
  catalog.mdb = mdb;
  catalog.object_type = MDB_TABLE;
  catalog.table_pg = kCatalogPage;
  std::strcpy(catalog.object_name, "MSysObjects");
  const TableDefPtr table(mdb_read_table(&catalog));
  if (table == nullptr || mdb_read_columns(table.get()) == nullptr) throw damaged;
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
