// SheetCursor: the table view of a spreadsheet sheet, shared by the .xls
// and .xlsx readers.  The first row that holds a value names the columns
// (a blank header cell is named F1, F2, ... by its column number, as the
// Excel ODBC driver names them); the rows after it are the table's rows.
// Rows the sheet skips and rows without a value are rows of nulls, except
// at the end: trailing empty rows are not rows.  A row shorter than the
// header reads null in its missing columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "importers/tables/table_source.h"

namespace ks::tables {

// Excel's limits: a sheet never has more columns or rows.
inline constexpr size_t kSheetMostColumns = 16384;
inline constexpr uint32_t kSheetMostRows = 1048576;

// One row's values by column, kept from row to row so that their strings
// keep their storage.
class RowBuffer {
 public:
  void Clear();
  // The value of `column` (below kSheetMostColumns), emptied and marked
  // present, for the reader to fill.
  std::string& Set(size_t column);
  bool Has(size_t column) const { return column < width_ && present_[column] != 0; }
  std::string_view Text(size_t column) const { return values_[column]; }
  // One past the last column that holds a value; 0 for an empty row.
  size_t Width() const { return width_; }

 private:
  std::vector<std::string> values_;
  std::vector<uint8_t> present_;
  size_t width_ = 0;
};

// The rows a sheet stores, in order, as a reader finds them.
class SheetRowSource {
 public:
  virtual ~SheetRowSource() = default;
  // Fills `row` with the next stored row and `index` with its number
  // (0-based); false at the end of the sheet.
  virtual bool NextRow(RowBuffer& row, uint32_t& index) = 0;
  // How many columns the sheet says it spans (its used range), once the
  // first row is read; 0 when it does not say.
  virtual size_t DeclaredWidth() const { return 0; }
  virtual double Progress() const { return -1; }
};

class SheetCursor : public TableCursor {
 public:
  // Reads the header row at once.
  explicit SheetCursor(std::unique_ptr<SheetRowSource> source);

  const std::vector<std::string>& ColumnNames() const override { return columns_; }
  bool Next() override;
  std::optional<std::string_view> Value(size_t column) override;
  double Progress() const override { return source_->Progress(); }

 private:
  std::unique_ptr<SheetRowSource> source_;
  std::vector<std::string> columns_;
  RowBuffer current_;
  RowBuffer ahead_;           // a row read while empty rows before it are still owed
  bool has_ahead_ = false;
  bool current_empty_ = true;  // the current row is one of the empty rows
  uint64_t owed_empty_ = 0;    // empty rows seen that a later row shows are not trailing
  uint32_t next_index_ = 0;    // the number the next stored row has when none is skipped
};

}  // namespace ks::tables
