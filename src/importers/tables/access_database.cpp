#include "importers/tables/access_database.h"

#include <strings.h>

#include "core/charset_converter.h"
#include "importers/tables/access_catalog_check.h"

namespace ks::tables::access {
namespace {

// Flags of a saved query in the catalog: 0 is a select query, the others
// change data (update, append, delete, make-table), or are crosstab, union,
// pass-through and DDL queries.
constexpr int kSelectQueryFlags = 0;
// The catalog (MSysObjects) always starts on page 2.
constexpr uint64_t kCatalogPage = 2;

bool IsSystemTable(MdbCatalogEntry* entry) {
  return mdb_is_system_table(entry) != 0 || strncasecmp(entry->object_name, "MSys", 4) == 0;
}

std::string NameOf(const char* name) {
  const std::string_view text(name, strnlen(name, MDB_MAX_OBJ_NAME));
  if (core::IsValidUtf8(text)) return std::string(text);
  std::string out;
  core::CharsetConverter::ForThisThread().AppendUndeclared(text, out);
  return out;
}

}  // namespace

std::vector<std::string> ColumnNamesOf(MdbTableDef* table) {
  std::vector<std::string> names;
  for (unsigned i = 0; i < table->num_cols; ++i) {
    names.push_back(NameOf(static_cast<MdbColumn*>(g_ptr_array_index(table->columns, i))->name));
  }
  return names;
}

TableDefPtr ReadTableDefinition(MdbCatalogEntry* entry) {
  // A map is a type byte, then a page number or the pages of its bitmap.
  constexpr size_t kShortestMap = 5;
  TableDefPtr table(mdb_read_table(entry));
  if (table == nullptr || table->usage_map == nullptr || table->map_sz < kShortestMap ||
      mdb_read_columns(table.get()) == nullptr) {
    return nullptr;
  }
  return table;
}

void TableDefDeleter::operator()(MdbTableDef* table) const { mdb_free_tabledef(table); }

AccessDatabase::AccessDatabase(const std::string& path) : header_(ReadAccessHeader(path)) {
  mdb_ = mdb_open(path.c_str(), MDB_NOFLAGS);
  if (mdb_ == nullptr) throw TableError(TableError::Kind::kDamaged, "libmdb cannot open " + path);
  try {
    // Jet 4 pages encoded with the key in the header (no password) libmdb
    // decodes; Access 2007 and later encrypt with a password it cannot read.
    if (mdb_->f->jet_version >= MDB_VER_ACCDB_2007 && mdb_->f->db_key != 0) {
      throw TableError(TableError::Kind::kPasswordProtected, "the database is encrypted with a password");
    }
    if (mdb_->fmt->pg_size != static_cast<ssize_t>(header_.page_size) ||
        !ReadPageOfType(kCatalogPage, MDB_PAGE_TABLE)) {
      throw TableError(TableError::Kind::kDamaged, "the catalog of the database is not readable");
    }
    CheckCatalogProperties(mdb_, header_);
    if (mdb_read_catalog(mdb_, MDB_ANY) == nullptr) {
      throw TableError(TableError::Kind::kDamaged, "the catalog of the database is not readable");
    }
  } catch (...) {
    mdb_close(mdb_);
    throw;
  }
  for (unsigned i = 0; i < mdb_->num_catalog; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(mdb_->catalog, i));
    std::string type;
    switch (entry->object_type) {
      case MDB_TABLE:
        type = IsSystemTable(entry) ? "SYSTEM TABLE" : "TABLE";
        break;
      case MDB_QUERY:
        if (entry->flags != kSelectQueryFlags || entry->object_name[0] == '~') continue;
        type = "VIEW";
        break;
      case MDB_LINKED_TABLE:
        type = "LINK";
        break;
      default:
        continue;
    }
    objects_.push_back({NameOf(entry->object_name), std::move(type)});
    entries_.push_back(entry);
  }
}

AccessDatabase::~AccessDatabase() { mdb_close(mdb_); }

MdbCatalogEntry* AccessDatabase::FindTable(std::string_view name) const {
  for (size_t i = 0; i < objects_.size(); ++i) {
    if (objects_[i].name == name && entries_[i]->object_type == MDB_TABLE) return entries_[i];
  }
  return nullptr;
}

bool AccessDatabase::ReadPageOfType(uint64_t page, int type) {
  if (!PageInFile(page)) return false;
  return mdb_read_pg(mdb_, static_cast<unsigned long>(page)) == mdb_->fmt->pg_size && mdb_->pg_buf[0] == type;
}

TableDefPtr AccessDatabase::OpenTable(std::string_view name) {
  MdbCatalogEntry* entry = FindTable(name);
  if (entry == nullptr) return nullptr;
  const std::string damaged = "the definition of the table " + std::string(name) + " is not readable";
  if (!ReadPageOfType(entry->table_pg, MDB_PAGE_TABLE)) throw TableError(TableError::Kind::kDamaged, damaged);
  TableDefPtr table = ReadTableDefinition(entry);
  if (table == nullptr) throw TableError(TableError::Kind::kDamaged, damaged);
  return table;
}

}  // namespace ks::tables::access
