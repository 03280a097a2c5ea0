// XlsxSheetRows: the rows of one worksheet part (xl/worksheets/sheetN.xml),
// read as a stream: only the current row is in memory.  Each cell's value
// becomes text by the table value rules: shared and inline strings as they
// are, numbers shortest, numbers in a date or time format as dates (1900
// or 1904 date system), booleans True/False, error values as Excel shows
// them (#DIV/0!), formula results as their cached value.  Cells are placed
// by their reference (r="C7"); a cell without one follows the previous.
#pragma once

#include <cstdint>
#include <string>

#include "importers/tables/sheet_cursor.h"
#include "importers/tables/xlsx_shared_strings.h"
#include "importers/tables/xlsx_styles.h"
#include "importers/tables/xml_pull_scanner.h"

namespace ks::tables {

// How a workbook counts its date serial numbers.
enum class DateSystem { k1900, k1904 };

// Appends the text of number `value` shown in a format of kind `kind`.
void AppendSheetNumber(double value, NumberKind kind, DateSystem system, std::string& out);

class XlsxSheetRows : public SheetRowSource {
 public:
  // `source` gives the part's bytes; `total_bytes` its length, for
  // progress (0 when unknown).  The references must outlive the reader.
  XlsxSheetRows(ByteSource& source, uint64_t total_bytes, const SharedStrings& strings,
                const CellStyles& styles, DateSystem system);

  bool NextRow(RowBuffer& row, uint32_t& index) override;
  size_t DeclaredWidth() const override { return declared_width_; }
  double Progress() const override;

 private:
  void ReadCell(RowBuffer& row);
  void ReadInlineString();
  void StoreValue(RowBuffer& row, size_t column);

  XmlPullScanner scanner_;
  uint64_t total_bytes_;
  const SharedStrings& strings_;
  const CellStyles& styles_;
  DateSystem system_;
  bool in_data_ = false;  // inside <sheetData>
  bool done_ = false;
  size_t declared_width_ = 0;  // from <dimension ref="A1:M3">
  uint32_t next_row_ = 0;      // the number of a row without r="..."
  size_t next_column_ = 0;     // the column of a cell without r="..."

  // The cell being read.
  char type_[10] = {};  // its t="..." (n, s, b, e, str, inlineStr, d), cut short
  uint32_t style_ = 0;  // its s="..."
  bool has_value_ = false;
  std::string value_;   // the text of <v>, or an inline string
};

}  // namespace ks::tables
