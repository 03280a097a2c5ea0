// Fuzzes the BIFF reader on a workbook stream given directly, without the
// compound file around it: the globals (BOF, FILEPASS, CODEPAGE, sheets,
// formats, styles, the shared strings and their CONTINUE records), then
// every worksheet's cell records as the sheet cursor reads them.
//
// Input: the workbook stream's bytes.
//
// Checks: nothing but TableError escapes; every sheet reads to its end, and
// every row has the sheet's column count.  A stream may declare a sheet as
// large as the format allows (65,536 rows of 256 columns), whose empty rows
// are rows of nulls: the values are asked for only until a few hundred
// thousand have been read, so that such an input costs the reader's walk,
// not millions of nulls.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "fuzz_input.h"
#include "importers/tables/biff_sheet_rows.h"
#include "importers/tables/biff_workbook.h"
#include "importers/tables/sheet_cursor.h"

namespace {

constexpr size_t kValuesAsked = 300000;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace ks::tables;
  const auto stream = std::make_shared<MemoryStreamBytes>(std::string(reinterpret_cast<const char*>(data), size));
  try {
    const auto book = std::make_shared<const BiffWorkbook>(ReadBiffWorkbook(*stream));
    for (const BiffSheet& sheet : book->sheets) {
      try {
        SheetCursor cursor(std::make_unique<BiffSheetRows>(stream, book, sheet.offset));
        const size_t width = cursor.ColumnNames().size();
        size_t rows = 0;
        size_t values = 0;
        while (cursor.Next() && ++rows < 2000000) {
          if (values < kValuesAsked) {
            for (size_t c = 0; c < width; ++c) (void)cursor.Value(c);
            values += width;
          }
          FUZZ_CHECK(!cursor.Value(width).has_value());
        }
      } catch (const TableError&) {
      }
    }
  } catch (const TableError&) {
  }
  return 0;
}
