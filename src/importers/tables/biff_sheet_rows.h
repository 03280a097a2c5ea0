// BiffSheetRows: the rows of one worksheet of a BIFF5 or BIFF8 workbook,
// read record by record from the sheet's BOF as the cursor asks for them.
// BIFF stores cells row after row, so a row is complete when a cell of a
// later row or the sheet's EOF comes; only that row is held.
#pragma once

#include <memory>

#include "importers/tables/biff_records.h"
#include "importers/tables/biff_workbook.h"
#include "importers/tables/sheet_cursor.h"

namespace ks::tables {

class BiffSheetRows : public SheetRowSource {
 public:
  // Reads the sheet's BOF at `offset`; throws TableError kDamaged when no
  // BOF stands there.
  BiffSheetRows(std::shared_ptr<StreamBytes> stream, std::shared_ptr<const BiffWorkbook> book, uint64_t offset);

  bool NextRow(RowBuffer& row, uint32_t& index) override;
  size_t DeclaredWidth() const override { return width_; }
  double Progress() const override { return records_.Progress(); }

 private:
  // Puts the value of the current cell record into `row` (a cell with no
  // value leaves it alone).
  void ReadCell(std::string_view data, RowBuffer& row);
  // The cached text result of a string formula: the STRING record after it.
  bool ReadFormulaString(std::string& out);

  std::shared_ptr<StreamBytes> stream_;
  std::shared_ptr<const BiffWorkbook> book_;
  BiffRecords records_;
  size_t width_ = 0;
  int depth_ = 0;            // inside an embedded chart's own BOF and EOF
  int64_t last_row_ = -1;    // the number of the row handed out last
  bool done_ = false;
};

}  // namespace ks::tables
