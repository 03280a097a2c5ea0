// The file-type table: every file type the library knows, in one place.  A
// row gives the type's number, the short name hosts type, what the user is
// offered (display name, description, extensions, option mask), the importer
// that reads it and, for types that import through another type's importer,
// that type.  The default filter list, the importer lookup of the import run
// and the host's list of types are all read from it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "core/import_base.h"

namespace ks::registry {

using ImporterCreateFn = std::unique_ptr<CIMPImportBase> (*)();

// Whether and when the type is in the list of types offered to the user.
enum class Offered {
  kNo,                  // reached by number only (a wizard or a mail source brings it)
  kYes,                 // always offered
  kWhenFoxProDriverIs,  // only when an ODBC driver reads FoxPro tables
};

struct FileTypeRow {
  int32_t number;
  std::string_view short_name;  // what a host may type instead of the number; "" for none
  // What the user is offered; empty for a type that is not offered.
  std::string_view display_name;
  std::string_view description;
  std::string_view extensions;  // blank-separated, without dots; "*" for any file
  uint32_t option_mask;         // KSIMP_OPT_ bits
  Offered offered;
  bool filter_program_applies;  // the external filter program can read this type
  // The importer: its class name, how to create it (null while it is not
  // built) and whether the run takes the type without creating one.
  const char* importer_name;
  ImporterCreateFn create;
  bool accepted_without_importer;
  int32_t imported_as;  // another type whose importer reads this one; 0 for itself
};

// Every row: first the offered types in the order the user sees them, then
// the others.
std::span<const FileTypeRow> FileTypeRows();

// The row of `number`, or null for a type the library does not know.
const FileTypeRow* FindFileType(int32_t number);
// The row whose short name is `short_name` (any case), or null.
const FileTypeRow* FindFileTypeByShortName(std::string_view short_name);

// The type whose importer reads `number`: some types the user may pick import
// through another type's importer.
int32_t ImportedAs(int32_t number);

}  // namespace ks::registry

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

// How the import run gets its importers: the table, or a stand-in a test
// puts in its place.
using ImporterFactory = std::function<CreatedImporter(int32_t file_type)>;

// The default factory: creates the importer that the table names for the
// type (after ImportedAs).
CreatedImporter CreateImporterFromTable(int32_t file_type);
