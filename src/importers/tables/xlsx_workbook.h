// The connection to an .xlsx workbook: the zip package opened with libzip,
// its small parts read at once, each sheet's part streamed when its table
// is opened.
#pragma once

#include <memory>
#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

// Opens the package at `path`.  Throws TableError kDamaged when it is not a
// readable zip package of a workbook.
std::unique_ptr<TableConnection> OpenXlsxWorkbook(const std::string& path);

}  // namespace ks::tables
