// The connection to an .xls workbook: a BIFF5 (Excel 5/95) or BIFF8 (Excel
// 97 to 2003) workbook stream in a compound file, read by our own reader
// (compound_file.h, biff_workbook.h, biff_sheet_rows.h).  The globals and
// the shared strings are read once; each sheet streams its rows.
#pragma once

#include <memory>
#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

// Opens the workbook at `path`.  Throws TableError: kPasswordProtected for
// an encrypted or obfuscated workbook, kDamaged for one that cannot be read.
std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path);

}  // namespace ks::tables
