#include "importers/tables/xlsx_workbook.h"

#include <zip.h>

#include <utility>

#include "importers/tables/sheet_cursor.h"
#include "importers/tables/xlsx_package_parts.h"
#include "importers/tables/xlsx_sheet_rows.h"

namespace ks::tables {
namespace {

// The whole of a part that is read at once (workbook, relationships,
// styles) is never larger than this in a real workbook; a zip bomb stops here.
constexpr zip_uint64_t kMostWholePart = 64u << 20;

[[noreturn]] void Damaged(const std::string& what) {
  throw TableError(TableError::Kind::kDamaged, "damaged .xlsx workbook: " + what);
}

// The open package, shared by the connection and its cursors.
class Package {
 public:
  explicit Package(const std::string& path) {
    int error = 0;
    zip_ = zip_open(path.c_str(), ZIP_RDONLY, &error);
    if (zip_ == nullptr) {
      zip_error_t detail;
      zip_error_init_with_code(&detail, error);
      const std::string message = zip_error_strerror(&detail);
      zip_error_fini(&detail);
      if (error == ZIP_ER_NOENT) throw TableError(TableError::Kind::kNotFound, path + ": no such file");
      Damaged(path + ": " + message);
    }
  }
  ~Package() { zip_discard(zip_); }
  Package(const Package&) = delete;
  Package& operator=(const Package&) = delete;

  // The index of `part`, or -1 when the package lacks it.  Names are
  // matched without regard to case where the exact name is absent, as
  // writers differ.
  zip_int64_t Find(const std::string& part) const {
    zip_int64_t index = zip_name_locate(zip_, part.c_str(), 0);
    if (index < 0) index = zip_name_locate(zip_, part.c_str(), ZIP_FL_NOCASE);
    return index;
  }

  zip_uint64_t SizeOf(zip_int64_t index) const {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(zip_, static_cast<zip_uint64_t>(index), 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE)) {
      return 0;
    }
    return stat.size;
  }

  zip_file_t* Open(zip_int64_t index, const std::string& part) const {
    zip_file_t* file = zip_fopen_index(zip_, static_cast<zip_uint64_t>(index), 0);
    if (file == nullptr) Damaged(part + ": " + zip_strerror(zip_));
    return file;
  }

  // The whole of `part`; empty when the package lacks it and it is not
  // `required`.
  std::string ReadWhole(const std::string& part, bool required) const;

 private:
  zip_t* zip_ = nullptr;
};

// A part's bytes as a stream.
class ZipEntrySource : public ByteSource {
 public:
  ZipEntrySource(const Package& package, zip_int64_t index, std::string part)
      : file_(package.Open(index, part)), part_(std::move(part)) {}
  ~ZipEntrySource() override { zip_fclose(file_); }
  ZipEntrySource(const ZipEntrySource&) = delete;
  ZipEntrySource& operator=(const ZipEntrySource&) = delete;

  size_t Read(char* into, size_t size) override {
    const zip_int64_t got = zip_fread(file_, into, size);
    if (got < 0) Damaged(part_ + ": " + zip_error_strerror(zip_file_get_error(file_)));
    return static_cast<size_t>(got);
  }

 private:
  zip_file_t* file_;
  std::string part_;
};

std::string Package::ReadWhole(const std::string& part, bool required) const {
  const zip_int64_t index = Find(part);
  if (index < 0) {
    if (required) Damaged("the package has no " + part);
    return {};
  }
  const zip_uint64_t size = SizeOf(index);
  if (size > kMostWholePart) Damaged(part + " is larger than any workbook has");
  std::string bytes;
  bytes.reserve(static_cast<size_t>(size));
  ZipEntrySource source(*this, index, part);
  char chunk[16384];
  while (const size_t got = source.Read(chunk, sizeof chunk)) {
    bytes.append(chunk, got);
    if (bytes.size() > kMostWholePart) Damaged(part + " is larger than any workbook has");
  }
  return bytes;
}

// What every cursor of one workbook reads with.
struct Workbook {
  explicit Workbook(const std::string& path) : package(path) {}
  Package package;
  XlsxWorkbookInfo info;
  CellStyles styles;
  std::shared_ptr<const SharedStrings> strings;  // read when a first table opens
};

// One sheet's rows, read from its part.
class XlsxSheetSource : public SheetRowSource {
 public:
  XlsxSheetSource(std::shared_ptr<const Workbook> workbook, std::shared_ptr<const SharedStrings> strings,
                  zip_int64_t index, const std::string& part)
      : workbook_(std::move(workbook)),
        strings_(std::move(strings)),
        bytes_(workbook_->package, index, part),
        rows_(bytes_, workbook_->package.SizeOf(index), *strings_, workbook_->styles,
              workbook_->info.date1904 ? DateSystem::k1904 : DateSystem::k1900) {}

  bool NextRow(RowBuffer& row, uint32_t& index) override { return rows_.NextRow(row, index); }
  size_t DeclaredWidth() const override { return rows_.DeclaredWidth(); }
  double Progress() const override { return rows_.Progress(); }

 private:
  std::shared_ptr<const Workbook> workbook_;
  std::shared_ptr<const SharedStrings> strings_;
  ZipEntrySource bytes_;
  XlsxSheetRows rows_;
};

class XlsxConnection : public TableConnection {
 public:
  explicit XlsxConnection(const std::string& path) : workbook_(std::make_shared<Workbook>(path)) {
    const Package& package = workbook_->package;
    const std::string package_rels = package.ReadWhole("_rels/.rels", false);
    const std::string workbook_part = package_rels.empty() ? "xl/workbook.xml" : FindWorkbookPart(package_rels);
    if (workbook_part.ends_with(".bin")) {
      throw TableError(TableError::Kind::kDamaged,
                       path + ": a binary workbook (.xlsb), which this driver cannot read; save it as .xlsx");
    }
    workbook_->info = ParseWorkbookParts(package.ReadWhole(workbook_part, true),
                                         package.ReadWhole(RelationshipsPartOf(workbook_part), true),
                                         workbook_part);
    if (!workbook_->info.styles_part.empty()) {
      const std::string styles = package.ReadWhole(workbook_->info.styles_part, false);
      if (!styles.empty()) workbook_->styles = CellStyles::Parse(styles);
    }
  }

  std::vector<TableEntry> Tables() override {
    std::vector<TableEntry> tables;
    for (const XlsxSheetPart& sheet : workbook_->info.sheets) tables.push_back({sheet.name, "TABLE"});
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    if (Find(table) == nullptr) return {};
    return OpenTable(table)->ColumnNames();
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    const XlsxSheetPart* sheet = Find(table);
    if (sheet == nullptr) throw TableError(TableError::Kind::kNotFound, "the workbook has no sheet " + std::string(table));
    if (!workbook_->strings) workbook_->strings = ReadSharedStrings();
    const zip_int64_t index = workbook_->package.Find(sheet->part);
    if (index < 0) Damaged("the package has no " + sheet->part + " for sheet " + sheet->name);
    return std::make_unique<SheetCursor>(
        std::make_unique<XlsxSheetSource>(workbook_, workbook_->strings, index, sheet->part));
  }

 private:
  const XlsxSheetPart* Find(std::string_view table) const {
    for (const XlsxSheetPart& sheet : workbook_->info.sheets) {
      if (sheet.name == table) return &sheet;
    }
    return nullptr;
  }

  std::shared_ptr<const SharedStrings> ReadSharedStrings() const {
    const std::string& part = workbook_->info.shared_strings_part;
    const zip_int64_t index = part.empty() ? -1 : workbook_->package.Find(part);
    if (index < 0) return std::make_shared<const SharedStrings>();
    ZipEntrySource bytes(workbook_->package, index, part);
    return std::make_shared<const SharedStrings>(SharedStrings::Read(bytes));
  }

  std::shared_ptr<Workbook> workbook_;
};

}  // namespace

std::unique_ptr<TableConnection> OpenXlsxWorkbook(const std::string& path) {
  return std::make_unique<XlsxConnection>(path);
}

}  // namespace ks::tables
