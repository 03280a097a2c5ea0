// The connection to an .xls workbook (BIFF5 and BIFF8 in a compound file)
// through freexl.  freexl reads the whole workbook when it opens it; rows
// are then taken from the selected sheet by index.
#pragma once

#include <memory>
#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

// Opens the workbook at `path`.  Throws TableError: kPasswordProtected for
// an encrypted or obfuscated workbook, kDamaged for one freexl cannot read.
std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path);

}  // namespace ks::tables
