// The connection to an .xls workbook (BIFF5 and BIFF8 in a compound file)
// through freexl.  freexl runs in a reader process of its own for each
// listing and each sheet (it is not safe on damaged files, and it holds the
// whole workbook in memory); the sheet's rows come back through a pipe as
// text, one row at a time.
#pragma once

#include <memory>
#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

// Opens the workbook at `path`.  Throws TableError: kPasswordProtected for
// an encrypted or obfuscated workbook, kDamaged for one freexl cannot read.
std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path);

}  // namespace ks::tables
