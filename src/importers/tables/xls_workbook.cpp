#include "importers/tables/xls_workbook.h"

#include <freexl.h>

#include <fmt/format.h>

#include "importers/tables/child_process_reader.h"
#include "importers/tables/compound_file_check.h"
#include "importers/tables/sheet_cursor.h"
#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

// What a reader process says first: how the open went.
enum OpenOutcome : uint32_t { kOpened = 0, kProtected = 1, kUnreadable = 2, kFailed = 3 };
// The marks of the row stream: a cell follows, the row ends, the sheet ends.
enum RowMark : uint32_t { kCell = 1, kRowEnd = 2, kSheetEnd = 3 };

// A cell's text longer than this is no cell of Excel's (32,767 characters).
constexpr uint32_t kMostCellBytes = 1u << 20;

// The freexl handle in the reader process.
class XlsHandle {
 public:
  explicit XlsHandle(const std::string& path) { result_ = freexl_open(path.c_str(), &handle_); }
  ~XlsHandle() {
    if (handle_) freexl_close(handle_);  // freexl wants it closed even when the open failed
  }
  XlsHandle(const XlsHandle&) = delete;
  XlsHandle& operator=(const XlsHandle&) = delete;
  const void* get() const { return handle_; }

  // Opens and writes the outcome (and freexl's code on failure); true when
  // the workbook can be read.  freexl may report success without a handle.
  bool WriteOutcome(ChildPipeWriter& out) const {
    if (result_ != FREEXL_OK || handle_ == nullptr) {
      out.WriteU32(result_ == FREEXL_OK ? kUnreadable : kFailed);
      out.WriteU32(static_cast<uint32_t>(result_));
      return false;
    }
    unsigned int password = 0;
    if (freexl_get_info(handle_, FREEXL_BIFF_PASSWORD, &password) == FREEXL_OK && password == FREEXL_BIFF_OBFUSCATED) {
      out.WriteU32(kProtected);
      return false;
    }
    out.WriteU32(kOpened);
    return true;
  }

 private:
  const void* handle_ = nullptr;
  int result_ = FREEXL_OK;
};

// In the reader process: the sheet names.
void WriteSheetNames(const std::string& path, int fd) {
  ChildPipeWriter out(fd);
  const XlsHandle xls(path);
  if (!xls.WriteOutcome(out)) return;
  unsigned int count = 0;
  if (freexl_get_info(xls.get(), FREEXL_BIFF_SHEET_COUNT, &count) != FREEXL_OK) count = 0;
  std::vector<std::string> names;
  for (unsigned int i = 0; i < count && i < 65535; ++i) {
    const char* name = nullptr;
    if (freexl_get_worksheet_name(xls.get(), static_cast<unsigned short>(i), &name) != FREEXL_OK || !name) break;
    names.emplace_back(name);
  }
  out.WriteU32(static_cast<uint32_t>(names.size()));
  for (const std::string& name : names) out.WriteText(name);
}

// In the reader process: the rows of sheet `sheet`, cell by cell, as text.
void WriteSheetRows(const std::string& path, unsigned short sheet, int fd) {
  ChildPipeWriter out(fd);
  const XlsHandle xls(path);
  if (!xls.WriteOutcome(out)) return;
  unsigned int rows = 0;
  unsigned short columns = 0;
  if (freexl_select_active_worksheet(xls.get(), sheet) != FREEXL_OK ||
      freexl_worksheet_dimensions(xls.get(), &rows, &columns) != FREEXL_OK) {
    out.WriteU32(0);  // no columns, and no rows
    out.WriteU32(0);
    out.WriteU32(kSheetEnd);
    return;
  }
  out.WriteU32(columns);
  out.WriteU32(rows);
  std::string text;
  for (unsigned int row = 0; row < rows && row < kSheetMostRows; ++row) {
    for (unsigned short c = 0; c < columns; ++c) {
      FreeXL_CellValue cell;
      if (freexl_get_cell_value(xls.get(), row, c, &cell) != FREEXL_OK) continue;
      text.clear();
      switch (cell.type) {
        case FREEXL_CELL_INT:
          AppendInteger(cell.value.int_value, text);
          break;
        case FREEXL_CELL_DOUBLE:
          AppendDouble(cell.value.double_value, text);
          break;
        case FREEXL_CELL_TEXT:
        case FREEXL_CELL_SST_TEXT:
        case FREEXL_CELL_DATE:      // YYYY-MM-DD
        case FREEXL_CELL_DATETIME:  // YYYY-MM-DD HH:MM:SS
        case FREEXL_CELL_TIME:      // HH:MM:SS
          if (cell.value.text_value == nullptr) continue;
          text = cell.value.text_value;
          break;
        default:  // FREEXL_CELL_NULL
          continue;
      }
      out.WriteU32(kCell);
      out.WriteU32(c);
      out.WriteText(text);
    }
    out.WriteU32(kRowEnd);
  }
  out.WriteU32(kSheetEnd);
}

[[noreturn]] void Refuse(const std::string& path, ChildProcessReader& reader, uint32_t outcome) {
  if (outcome == kProtected) {
    throw TableError(TableError::Kind::kPasswordProtected, path + ": the workbook is protected by a password");
  }
  uint32_t code = 0;
  const bool has_code = (outcome == kUnreadable || outcome == kFailed) && reader.ReadU32(code);
  if (outcome == kUnreadable || (has_code && static_cast<int>(code) == FREEXL_BIFF_WORKBOOK_NOT_FOUND)) {
    // freexl stops without a word on an encrypted workbook.
    if (HasFilePassRecord(path)) {
      throw TableError(TableError::Kind::kPasswordProtected, path + ": the workbook is protected by a password");
    }
  }
  if (outcome == kUnreadable) {
    throw TableError(TableError::Kind::kDamaged,
                     path + ": freexl cannot read this .xls workbook (it reads Excel 5 to 2003 files, not all of them)");
  }
  if (has_code) {
    if (static_cast<int>(code) == FREEXL_FILE_NOT_FOUND) throw TableError(TableError::Kind::kNotFound, path + ": no such file");
    throw TableError(TableError::Kind::kDamaged,
                     fmt::format("{}: a damaged .xls workbook (freexl error {})", path, static_cast<int>(code)));
  }
  throw TableError(TableError::Kind::kDamaged,
                   path + ": a damaged .xls workbook: freexl failed on it (" + reader.HowItEnded() + ")");
}

// The rows of one sheet, as its reader process writes them.
class XlsSheetSource : public SheetRowSource {
 public:
  XlsSheetSource(std::string path, unsigned short sheet)
      : path_(std::move(path)), reader_([&](int fd) { WriteSheetRows(path_, sheet, fd); }) {
    uint32_t outcome = kFailed;
    if (!reader_.ReadU32(outcome)) Broken();
    if (outcome != kOpened) Refuse(path_, reader_, outcome);
    uint32_t columns = 0;
    if (!reader_.ReadU32(columns) || !reader_.ReadU32(rows_)) Broken();
    columns_ = std::min<size_t>(columns, kSheetMostColumns);
  }

  bool NextRow(RowBuffer& row, uint32_t& index) override {
    row.Clear();
    if (done_) return false;
    for (;;) {
      uint32_t mark = 0;
      if (!reader_.ReadU32(mark)) Broken();
      if (mark == kSheetEnd) {
        done_ = true;
        return false;
      }
      if (mark == kRowEnd) break;
      uint32_t column = 0, size = 0;
      if (mark != kCell || !reader_.ReadU32(column) || !reader_.ReadU32(size) || column >= kSheetMostColumns ||
          size > kMostCellBytes) {
        Broken();
      }
      std::string& text = row.Set(column);
      text.resize(size);
      if (!reader_.Read(text.data(), size)) Broken();
    }
    index = next_++;
    return true;
  }

  size_t DeclaredWidth() const override { return columns_; }
  double Progress() const override { return rows_ == 0 ? 1 : std::min(1.0, static_cast<double>(next_) / rows_); }

 private:
  [[noreturn]] void Broken() {
    throw TableError(TableError::Kind::kDamaged,
                     path_ + ": a damaged .xls workbook: freexl failed reading it (" + reader_.HowItEnded() + ")");
  }

  std::string path_;
  ChildProcessReader reader_;
  size_t columns_ = 0;
  uint32_t rows_ = 0;  // the rows the sheet declares, for progress
  uint32_t next_ = 0;
  bool done_ = false;
};

class XlsConnection : public TableConnection {
 public:
  XlsConnection(std::string path, std::vector<std::string> sheets) : path_(std::move(path)), sheets_(std::move(sheets)) {}

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
        return std::make_unique<SheetCursor>(std::make_unique<XlsSheetSource>(path_, static_cast<unsigned short>(i)));
      }
    }
    throw TableError(TableError::Kind::kNotFound, "the workbook has no sheet " + std::string(table));
  }

 private:
  std::string path_;
  std::vector<std::string> sheets_;
};

}  // namespace

std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path) {
  if (const std::string fault = CompoundDirectoryFault(path); !fault.empty()) {
    throw TableError(TableError::Kind::kDamaged, path + ": a damaged .xls workbook: " + fault);
  }
  ChildProcessReader reader([&](int fd) { WriteSheetNames(path, fd); });
  uint32_t outcome = kFailed;
  if (!reader.ReadU32(outcome)) {
    throw TableError(TableError::Kind::kDamaged,
                     path + ": a damaged .xls workbook: freexl failed on it (" + reader.HowItEnded() + ")");
  }
  if (outcome != kOpened) Refuse(path, reader, outcome);
  uint32_t count = 0;
  std::vector<std::string> sheets;
  bool complete = reader.ReadU32(count) && count <= 65535;
  for (uint32_t i = 0; complete && i < count; ++i) {
    uint32_t size = 0;
    complete = reader.ReadU32(size) && size <= 4096;
    if (complete) {
      std::string name(size, '\0');
      complete = reader.Read(name.data(), size);
      sheets.push_back(std::move(name));
    }
  }
  if (!complete) {
    throw TableError(TableError::Kind::kDamaged,
                     path + ": a damaged .xls workbook: freexl failed listing its sheets (" + reader.HowItEnded() + ")");
  }
  return std::make_unique<XlsConnection>(path, std::move(sheets));
}

}  // namespace ks::tables
