// The importer table: which importer reads which file type.  One static
// table (importer_table.cpp) answers both "which types exist" and "which
// importer to create"; the import session asks through an ImporterFactory so
// that tests can put a stub importer in its place.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "core/import_base.h"

using ImporterCreateFn = std::unique_ptr<CIMPImportBase> (*)();

struct ImporterRow {
  int32_t file_type;
  const char* importer_name;       // class that reads the type
  ImporterCreateFn create;         // null while that importer is not built
  bool accepted_without_importer;  // the run counts the file as imported
};

// What asking for an importer gave.
struct CreatedImporter {
  enum class Outcome {
    kNoImporter,               // unknown type, or its importer is not built: the run ends
    kAcceptedWithoutImporter,  // nothing to run; the file counts as imported
    kCreated,                  // `importer` is set
  };
  Outcome outcome = Outcome::kNoImporter;
  std::unique_ptr<CIMPImportBase> importer;
};

using ImporterFactory = std::function<CreatedImporter(int32_t file_type)>;

// Every row, in table order.
std::span<const ImporterRow> ImporterRows();

// The row of `file_type`, or null when the type is unknown.
const ImporterRow* FindImporterRow(int32_t file_type);

// The default factory: creates the importer that the table names.
CreatedImporter CreateImporterFromTable(int32_t file_type);
