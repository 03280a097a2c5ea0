// AccessDatabase: one libmdb handle on an Access file, opened only after
// the checks libmdb does not make (the header, the encryption of Access 2007
// and later, the catalog's page), and its catalog as the table schema.
// A handle has one page buffer, so each pass over a table opens a database
// of its own.
#pragma once

// libmdb is C and expects glib first.
#include <glib.h>
#include <mdbtools.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/access_header.h"
#include "importers/tables/table_source.h"

namespace ks::tables::access {

struct TableDefDeleter {
  void operator()(MdbTableDef* table) const;
};
using TableDefPtr = std::unique_ptr<MdbTableDef, TableDefDeleter>;

// Reads the definition and the columns of the table `entry` names; null
// when libmdb cannot, or when the table has no page map libmdb can walk
// (it would read through a null or short map when looking for rows).
TableDefPtr ReadTableDefinition(MdbCatalogEntry* entry);

// The names of the columns of `table`, in schema order, as UTF-8.
std::vector<std::string> ColumnNamesOf(MdbTableDef* table);

class AccessDatabase {
 public:
  // Throws TableError: kNotFound, kDamaged, or kPasswordProtected for an
  // encrypted file libmdb cannot decrypt.
  explicit AccessDatabase(const std::string& path);
  ~AccessDatabase();
  AccessDatabase(const AccessDatabase&) = delete;
  AccessDatabase& operator=(const AccessDatabase&) = delete;

  // Tables ("TABLE", "SYSTEM TABLE"), saved select queries ("VIEW") and
  // linked tables ("LINK"), in catalog order.
  const std::vector<TableEntry>& Objects() const { return objects_; }

  // The definition of the table `name` with its columns read; null when
  // the catalog holds no such table.  Throws TableError kDamaged when the
  // definition is not there.
  TableDefPtr OpenTable(std::string_view name);

  MdbHandle* handle() const { return mdb_; }
  const AccessHeader& header() const { return header_; }
  bool PageInFile(uint64_t page) const { return page > 0 && page < header_.page_count; }

 private:
  MdbCatalogEntry* FindTable(std::string_view name) const;
  // Reads `page` into the handle's buffer; true when it is a whole page of
  // the given type.
  bool ReadPageOfType(uint64_t page, int type);

  AccessHeader header_;
  MdbHandle* mdb_ = nullptr;
  std::vector<TableEntry> objects_;
  std::vector<MdbCatalogEntry*> entries_;  // beside objects_: the catalog's own entries
};

}  // namespace ks::tables::access
