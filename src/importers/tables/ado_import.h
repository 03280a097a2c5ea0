// CImpADO: imports the rows of database tables, one document per row, one
// field line per column ("Name[ value ]"), or one entry of the import's
// entry form per row.  The tables are read through the driver list
// (table_drivers.h): Access, Excel, dBase, FoxPro and Paradox files and any
// ODBC data source.
//
// The source name is a table settings string (table_import_settings.h) or a
// plain path, for which the connection is built from the file type: every
// table of an Access database or a workbook is read, the one table of a
// dBase, FoxPro or Paradox file, every table of a folder of them.
//
// Progress: each table adds a step that doubles from table to table,
// starting at twice the file's length divided by the number of tables, and
// the file's length is added once more at the end: 600, 1200, 2400 and 900
// for three tables of a 900-byte file.  The figures are kept as hosts have
// always seen them; within a table the counter moves through that table's
// step as its driver reads on.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/import_base.h"
#include "importers/tables/ado_util.h"
#include "importers/tables/table_import_settings.h"
#include "importers/tables/table_source.h"

namespace ks::core {
class EntryFormRows;
}

class CImpADO : public CIMPImportBase {
 public:
  CImpADO();
  ~CImpADO() override;

  // Every name is taken here; whether it can be read shows when it is.
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }
  // Reads the settings (14004 when they name no connection) and builds the
  // connection string for a plain path (11025 when no driver reads it).
  int Prepare(ImportContext& context) override;

 protected:
  int ImportSource() override;
  bool ReadsSourceFile() const override { return false; }

 private:
  // Opens the connection and fills the table list from the source when the
  // settings named none; false, with the error recorded, when it cannot.
  bool ConnectAndListTables();
  // Imports the rows of `table`; false when the import must stop.
  bool ImportTable(const std::string& table, uint64_t step);
  // The document text of the cursor's current row, into document_.
  void BuildRowDocument(ks::tables::TableCursor& cursor);
  bool SaveRowAsEntry(ks::tables::TableCursor& cursor);
  // Records and logs a driver's failure.
  void DriverFailed(const ks::tables::TableError& error, const std::string& what);
  // The database's name for messages: the source file's name, else the
  // connection string.
  std::string SourceName() const;

  ks::tables::TableImportSettings settings_;
  std::optional<ks::tables::TableSourceKind> kind_;
  std::unique_ptr<ks::tables::TableConnection> connection_;
  std::unique_ptr<ks::tables::TableCursor> cursor_;
  std::vector<std::string> columns_;  // the current table's column names
  std::vector<std::string> values_;   // entry-form mode: the row's values
  std::unique_ptr<ks::core::EntryFormRows> entries_;
  std::string document_;
  uint64_t progress_ = 0;  // bytes this source has moved the counter by
};
