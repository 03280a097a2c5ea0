// The drivers this library brings for table files that have no ODBC driver
// on Linux.  Their names hold the texts the connection builder searches
// for ("Microsoft Access", "Microsoft Excel", "Microsoft dBase VFP Driver",
// "Visual FoxPro", "Paradox"), so a connection string built for the file
// type finds them as it would find an installed driver.
#pragma once

#include <memory>
#include <string_view>

#include "importers/tables/table_source.h"

namespace ks::tables {

inline constexpr std::string_view kAccessDriverName =
    "Microsoft Access Driver (*.mdb, *.accdb), built in";
inline constexpr std::string_view kExcelDriverName =
    "Microsoft Excel Driver (*.xls, *.xlsx), built in";
inline constexpr std::string_view kDbaseDriverName = "Microsoft dBase VFP Driver (*.dbf), built in";
inline constexpr std::string_view kFoxProDriverName =
    "Microsoft Visual FoxPro Driver (*.dbf), built in";
inline constexpr std::string_view kParadoxDriverName = "Microsoft Paradox Driver (*.db), built in";

// Access .mdb/.accdb through libmdb.  DBQ: the database file.
std::unique_ptr<TableDriver> MakeAccessDriver();
// Excel .xls (BIFF5, BIFF8) and .xlsx; every sheet is a table.  DBQ: the workbook.
std::unique_ptr<TableDriver> MakeExcelDriver();
// dBase III/IV and FoxPro .dbf with .dbt/.fpt memos.  DBQ: the folder,
// whose .dbf files are its tables; a DBQ naming a .dbf file is read as that
// file's folder.  Two entries of the list, one reader.
std::unique_ptr<TableDriver> MakeDbaseDriver();
std::unique_ptr<TableDriver> MakeFoxProDriver();
// Paradox .db with .mb memos.  DBQ: the folder, as for dBase.
std::unique_ptr<TableDriver> MakeParadoxDriver();

}  // namespace ks::tables
