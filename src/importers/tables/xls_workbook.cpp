#include "importers/tables/xls_workbook.h"

#include <freexl.h>

#include <fmt/format.h>

#include "importers/tables/compound_file_check.h"
#include "importers/tables/sheet_cursor.h"
#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

// The freexl handle, closed once the connection and all its cursors are
// done with it.
class XlsHandle {
 public:
  explicit XlsHandle(const void* handle) : handle_(handle) {}
  ~XlsHandle() { freexl_close(handle_); }
  XlsHandle(const XlsHandle&) = delete;
  XlsHandle& operator=(const XlsHandle&) = delete;
  const void* get() const { return handle_; }

 private:
  const void* handle_;
};

// The rows of one sheet.  freexl knows one active sheet per handle, so each
// row selects its own sheet again: two cursors may be open at once.
class XlsSheetSource : public SheetRowSource {
 public:
  XlsSheetSource(std::shared_ptr<const XlsHandle> handle, unsigned short sheet)
      : handle_(std::move(handle)), sheet_(sheet) {
    if (freexl_select_active_worksheet(handle_->get(), sheet_) != FREEXL_OK ||
        freexl_worksheet_dimensions(handle_->get(), &rows_, &columns_) != FREEXL_OK) {
      throw TableError(TableError::Kind::kDamaged, fmt::format("damaged .xls workbook: sheet {} cannot be read", sheet));
    }
  }

  bool NextRow(RowBuffer& row, uint32_t& index) override {
    row.Clear();
    if (next_ >= rows_ || next_ >= kSheetMostRows) return false;
    freexl_select_active_worksheet(handle_->get(), sheet_);
    index = next_++;
    for (unsigned short c = 0; c < columns_ && c < kSheetMostColumns; ++c) {
      FreeXL_CellValue cell;
      if (freexl_get_cell_value(handle_->get(), index, c, &cell) != FREEXL_OK) continue;
      switch (cell.type) {
        case FREEXL_CELL_INT:
          AppendInteger(cell.value.int_value, row.Set(c));
          break;
        case FREEXL_CELL_DOUBLE:
          AppendDouble(cell.value.double_value, row.Set(c));
          break;
        case FREEXL_CELL_TEXT:
        case FREEXL_CELL_SST_TEXT:
        case FREEXL_CELL_DATE:      // YYYY-MM-DD
        case FREEXL_CELL_DATETIME:  // YYYY-MM-DD HH:MM:SS
        case FREEXL_CELL_TIME:      // HH:MM:SS
          if (cell.value.text_value != nullptr) row.Set(c).assign(cell.value.text_value);
          break;
        default:  // FREEXL_CELL_NULL
          break;
      }
    }
    return true;
  }

  size_t DeclaredWidth() const override { return columns_; }
  double Progress() const override { return rows_ == 0 ? 1 : static_cast<double>(next_) / rows_; }

 private:
  std::shared_ptr<const XlsHandle> handle_;
  unsigned short sheet_;
  unsigned int rows_ = 0;
  unsigned short columns_ = 0;
  unsigned int next_ = 0;
};

class XlsConnection : public TableConnection {
 public:
  XlsConnection(std::shared_ptr<const XlsHandle> handle, std::vector<std::string> sheets)
      : handle_(std::move(handle)), sheets_(std::move(sheets)) {}

  std::vector<TableEntry> Tables() override {
    std::vector<TableEntry> tables;
    for (const std::string& sheet : sheets_) tables.push_back({sheet, "TABLE"});
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    for (const std::string& sheet : sheets_) {
      if (sheet == table) return OpenTable(table)->ColumnNames();
    }
    return {};
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    for (size_t i = 0; i < sheets_.size(); ++i) {
      if (sheets_[i] == table) {
        return std::make_unique<SheetCursor>(
            std::make_unique<XlsSheetSource>(handle_, static_cast<unsigned short>(i)));
      }
    }
    throw TableError(TableError::Kind::kNotFound, "the workbook has no sheet " + std::string(table));
  }

 private:
  std::shared_ptr<const XlsHandle> handle_;
  std::vector<std::string> sheets_;
};

[[noreturn]] void PasswordProtected(const std::string& path) {
  throw TableError(TableError::Kind::kPasswordProtected, path + ": the workbook is protected by a password");
}

}  // namespace

std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path) {
  if (const std::string fault = CompoundDirectoryFault(path); !fault.empty()) {
    throw TableError(TableError::Kind::kDamaged, path + ": a damaged .xls workbook: " + fault);
  }
  const void* raw = nullptr;
  const int opened = freexl_open(path.c_str(), &raw);
  // freexl wants its handle closed even when the open fails, and may
  // report success without one.
  std::shared_ptr<const XlsHandle> handle = raw ? std::make_shared<const XlsHandle>(raw) : nullptr;
  if (opened == FREEXL_FILE_NOT_FOUND) throw TableError(TableError::Kind::kNotFound, path + ": no such file");
  if (opened != FREEXL_OK || !handle) {
    if (HasFilePassRecord(path)) PasswordProtected(path);
    throw TableError(TableError::Kind::kDamaged,
                     opened == FREEXL_OK
                         ? path + ": freexl cannot read this .xls workbook (it reads Excel 5 to 2003 files, not all of them)"
                         : fmt::format("{}: a damaged .xls workbook (freexl error {})", path, opened));
  }
  unsigned int password = 0;
  if (freexl_get_info(raw, FREEXL_BIFF_PASSWORD, &password) == FREEXL_OK && password == FREEXL_BIFF_OBFUSCATED) {
    PasswordProtected(path);
  }
  unsigned int count = 0;
  if (freexl_get_info(raw, FREEXL_BIFF_SHEET_COUNT, &count) != FREEXL_OK) count = 0;
  std::vector<std::string> sheets;
  for (unsigned int i = 0; i < count && i < 65535; ++i) {
    const char* name = nullptr;
    if (freexl_get_worksheet_name(raw, static_cast<unsigned short>(i), &name) != FREEXL_OK || name == nullptr) {
      throw TableError(TableError::Kind::kDamaged, fmt::format("{}: sheet {} has no name", path, i + 1));
    }
    sheets.emplace_back(name);
  }
  return std::make_unique<XlsConnection>(std::move(handle), std::move(sheets));
}

}  // namespace ks::tables
