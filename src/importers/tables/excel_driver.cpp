// The built-in Excel driver: DBQ names a workbook, each worksheet of it is
// a table named by the sheet (see sheet_cursor.h for rows and column
// names).  The file's first bytes choose the reader: a zip package is an
// .xlsx (our own reader), a compound file an .xls (our BIFF reader) unless it holds
// an encrypted package, which is how a password-protected .xlsx is stored.
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

// Whether the compound file holds a stream named "EncryptedPackage" (its
// name stands in a directory entry in UTF-16).  Read in chunks, so a large
// file costs no memory.
bool HoldsEncryptedPackage(std::ifstream& file) {
  static const std::string kName = [] {
    std::string utf16;
    for (const char c : std::string_view("EncryptedPackage")) {
      utf16 += c;
      utf16 += '\0';
    }
    return utf16;
  }();
  file.clear();
  file.seekg(0);
  std::string window;
  char chunk[65536];
  while (file.read(chunk, sizeof chunk) || file.gcount() > 0) {
    window.append(chunk, static_cast<size_t>(file.gcount()));
    if (window.find(kName) != std::string::npos) return true;
    window.erase(0, window.size() - (kName.size() - 1));
  }
  return false;
}

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
      if (HoldsEncryptedPackage(file)) {
        throw TableError(TableError::Kind::kPasswordProtected,
                         path + ": the workbook is encrypted (protected by a password)");
      }
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
