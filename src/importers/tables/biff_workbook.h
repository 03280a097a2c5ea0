// BiffWorkbook: what the globals of a BIFF5 or BIFF8 workbook stream say
// (version, code page, date system, worksheets and where they start, number
// formats by cell style, the shared strings), read from the stream's first
// BOF to its EOF.  The cells of a sheet are BiffSheetRows' job.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/stream_bytes.h"
#include "importers/tables/xlsx_sheet_rows.h"
#include "importers/tables/xlsx_styles.h"

namespace ks::tables {

using formats::MemoryStreamBytes;
using formats::StreamBytes;

struct BiffSheet {
  std::string name;
  uint64_t offset = 0;  // of the sheet's BOF record in the stream
};

struct BiffWorkbook {
  bool biff8 = true;
  std::string code_page = "windows-1252";  // of BIFF5's 8-bit strings
  DateSystem system = DateSystem::k1900;
  std::vector<BiffSheet> sheets;         // worksheets only, in the workbook's order
  std::vector<NumberKind> style_kinds;   // by XF index
  std::vector<std::string> strings;      // the shared string table

  NumberKind KindOfStyle(uint16_t xf) const {
    return xf < style_kinds.size() ? style_kinds[xf] : NumberKind::kNumber;
  }
};

// Reads the workbook globals.  Throws TableError: kPasswordProtected for an
// encrypted or obfuscated workbook (FILEPASS), kDamaged for an Excel 2 to 4
// stream or damaged records.
BiffWorkbook ReadBiffWorkbook(StreamBytes& stream);

}  // namespace ks::tables
