// The built-in Excel driver: DBQ names a workbook, each worksheet of it is
// a table named by the sheet (see sheet_cursor.h for rows and column
// names).  The file's first bytes choose the reader: a zip package is an
// .xlsx, a compound file an .xls (or a password-protected .xlsx, which the
// .xls reader recognises).
#include <cstring>
#include <fstream>
#include <string>

#include "importers/tables/builtin_drivers.h"
#include "importers/tables/xls_workbook.h"
#include "importers/tables/xlsx_workbook.h"

namespace ks::tables {
namespace {

constexpr char kZipMagic[] = "PK";
constexpr unsigned char kCompoundFileMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

class ExcelDriver : public TableDriver {
 public:
  const std::string& Name() const override { return name_; }

  std::unique_ptr<TableConnection> Connect(const ConnectionString& connection,
                                           const TableReadOptions&) override {
    const std::string path = connection.GetOr("DBQ", "");
    if (path.empty()) throw TableError(TableError::Kind::kNotFound, "the connection names no workbook (DBQ)");
    std::ifstream file(path, std::ios::binary);
    if (!file) throw TableError(TableError::Kind::kNotFound, path + ": cannot open the workbook");
    unsigned char head[8] = {};
    file.read(reinterpret_cast<char*>(head), sizeof head);
    const auto got = static_cast<size_t>(file.gcount());
    if (got >= 2 && std::memcmp(head, kZipMagic, 2) == 0) return OpenXlsxWorkbook(path);
    if (got == sizeof head && std::memcmp(head, kCompoundFileMagic, sizeof head) == 0) {
      return OpenXlsWorkbook(path);
    }
    // A bare BIFF stream starts with its BOF record: 0x0009, 0x0209 or
    // 0x0409 for Excel 2, 3 and 4, which the driver does not read.
    if (got >= 2 && head[0] == 0x09 && (head[1] == 0x00 || head[1] == 0x02 || head[1] == 0x04)) {
      throw TableError(TableError::Kind::kDamaged,
                       path + ": an Excel 2, 3 or 4 workbook, which this driver cannot read; save it as .xls or .xlsx");
    }
    throw TableError(TableError::Kind::kDamaged, path + ": not an Excel workbook");
  }

 private:
  std::string name_{kExcelDriverName};
};

}  // namespace

std::unique_ptr<TableDriver> MakeExcelDriver() { return std::make_unique<ExcelDriver>(); }

}  // namespace ks::tables
