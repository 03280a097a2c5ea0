#include "importers/tables/xls_workbook.h"

#include "formats/compound_file.h"
#include "importers/tables/biff_sheet_rows.h"
#include "importers/tables/biff_workbook.h"
#include "importers/tables/sheet_cursor.h"

namespace ks::tables {
namespace {

// The reader's errors say what is wrong; the path says where.
template <typename Step>
auto WithPath(const std::string& path, Step step) {
  try {
    return step();
  } catch (const TableError& error) {
    throw TableError(error.kind(), path + ": " + error.what());
  }
}

// A sheet's rows with the file's path in their errors.
class XlsSheetSource : public SheetRowSource {
 public:
  XlsSheetSource(std::string path, std::unique_ptr<BiffSheetRows> rows) : path_(std::move(path)), rows_(std::move(rows)) {}
  bool NextRow(RowBuffer& row, uint32_t& index) override {
    return WithPath(path_, [&] { return rows_->NextRow(row, index); });
  }
  size_t DeclaredWidth() const override { return rows_->DeclaredWidth(); }
  double Progress() const override { return rows_->Progress(); }

 private:
  std::string path_;
  std::unique_ptr<BiffSheetRows> rows_;
};

class XlsConnection : public TableConnection {
 public:
  XlsConnection(std::string path, std::shared_ptr<StreamBytes> stream, std::shared_ptr<const BiffWorkbook> book)
      : path_(std::move(path)), stream_(std::move(stream)), book_(std::move(book)) {}

  std::vector<TableEntry> Tables() override {
    std::vector<TableEntry> tables;
    for (const BiffSheet& sheet : book_->sheets) tables.push_back({sheet.name, "TABLE"});
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    for (const BiffSheet& sheet : book_->sheets) {
      if (sheet.name == table) return OpenTable(table)->ColumnNames();
    }
    return {};
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    for (const BiffSheet& sheet : book_->sheets) {
      if (sheet.name != table) continue;
      return WithPath(path_, [&] {
        return std::make_unique<SheetCursor>(std::make_unique<XlsSheetSource>(
            path_, std::make_unique<BiffSheetRows>(stream_, book_, sheet.offset)));
      });
    }
    throw TableError(TableError::Kind::kNotFound, "the workbook has no sheet " + std::string(table));
  }

 private:
  std::string path_;
  std::shared_ptr<StreamBytes> stream_;
  std::shared_ptr<const BiffWorkbook> book_;
};

// The workbook stream of the compound file at `path`.
std::unique_ptr<TableConnection> OpenBiffWorkbook(const std::string& path) {
  const formats::CompoundFile file(path);
  // A password-protected .xlsx is stored as an encrypted package inside a
  // compound file.
  if (file.OpenStream("EncryptedPackage")) {
    throw TableError(TableError::Kind::kPasswordProtected, "the workbook is encrypted (protected by a password)");
  }
  std::shared_ptr<StreamBytes> stream = file.OpenStream("Workbook");
  if (!stream) stream = file.OpenStream("Book");  // Excel 5 and 95
  if (!stream) {
    throw TableError(TableError::Kind::kDamaged, "the compound file holds no workbook stream (not an .xls file)");
  }
  auto book = std::make_shared<const BiffWorkbook>(ReadBiffWorkbook(*stream));
  return std::make_unique<XlsConnection>(path, std::move(stream), std::move(book));
}

}  // namespace

std::unique_ptr<TableConnection> OpenXlsWorkbook(const std::string& path) {
  return WithPath(path, [&]() -> std::unique_ptr<TableConnection> {
    try {
      return OpenBiffWorkbook(path);
    } catch (const formats::CompoundFileError& error) {
      // The container's failures are the workbook's.
      throw TableError(error.kind() == formats::CompoundFileError::Kind::kCannotOpen ? TableError::Kind::kNotFound
                                                                                     : TableError::Kind::kDamaged,
                       error.what());
    }
  });
}

}  // namespace ks::tables
