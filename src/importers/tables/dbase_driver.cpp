// The dBase and FoxPro drivers: one reader of .dbf tables under the two
// names a connection string may ask for.  A folder is the data source and
// each .dbf file in it one table, named by its file name without the
// extension.
//
// What the reader decides where the files leave it open:
//   - a date that is neither blank nor a valid YYYYMMDD gives its stored
//     text, so that nothing written in the table is lost;
//   - a table whose file ends before the records its header counts hands
//     out the whole records there are and then fails as damaged, so the
//     import keeps those rows and its log says the table is cut short
//     (an end-of-file mark where a record would start is a clean end);
//   - a logical other than T, Y, F, N (any case) is null, as is a number
//     field of blanks or of the stars written for a number too wide;
//   - memo fields whose memo file is missing are null.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "importers/tables/builtin_drivers.h"
#include "importers/tables/dbase_cursor.h"

namespace ks::tables {
namespace {

namespace fs = std::filesystem;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool HasExtension(const fs::path& path, std::string_view extension) {
  return Lower(path.extension().string()) == extension;
}

// The file of `folder` with the stem `stem` and the extension `extension`
// (lower case), either written in any case; an exact stem wins.
std::optional<fs::path> FindFile(const fs::path& folder, std::string_view stem, std::string_view extension) {
  std::optional<fs::path> found;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const fs::path& path = entry.path();
    if (!HasExtension(path, extension) || !entry.is_regular_file(error)) continue;
    const std::string name = path.stem().string();
    if (name == stem) return path;
    if (!found && Lower(name) == Lower(std::string(stem))) found = path;
  }
  return found;
}

std::unique_ptr<DbfMemoFile> OpenMemo(const fs::path& table, DbfMemoStyle style) {
  if (style == DbfMemoStyle::kNone) return nullptr;
  const std::string stem = table.stem().string();
  const bool foxpro = style == DbfMemoStyle::kFoxPro;
  for (const std::string_view extension : {foxpro ? ".fpt" : ".dbt", foxpro ? ".dbt" : ".fpt"}) {
    const std::optional<fs::path> path = FindFile(table.parent_path(), stem, extension);
    if (!path) continue;
    // The memo file's own kind decides how it is read.
    const DbfMemoStyle file_style = extension == ".fpt"  ? DbfMemoStyle::kFoxPro
                                    : foxpro            ? DbfMemoStyle::kDbase4
                                                        : style;
    auto memo = std::make_unique<DbfMemoFile>();
    if (memo->Open(path->string(), file_style)) return memo;
  }
  return nullptr;
}

class DbfConnection : public TableConnection {
 public:
  DbfConnection(fs::path folder, TableReadOptions options)
      : folder_(std::move(folder)), options_(std::move(options)) {}

  std::vector<TableEntry> Tables() override {
    std::vector<TableEntry> tables;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_, error)) {
      if (HasExtension(entry.path(), ".dbf") && entry.is_regular_file(error)) {
        tables.push_back({entry.path().stem().string(), "TABLE"});
      }
    }
    std::sort(tables.begin(), tables.end(), [](const TableEntry& a, const TableEntry& b) { return a.name < b.name; });
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    if (!FindFile(folder_, table, ".dbf")) return {};
    return OpenTable(table)->ColumnNames();
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    const std::optional<fs::path> path = FindFile(folder_, table, ".dbf");
    if (!path) {
      throw TableError(TableError::Kind::kNotFound,
                       "no table " + std::string(table) + " in " + folder_.string());
    }
    const std::string file_name = path->filename().string();
    auto file = std::make_unique<ReadOnlyFile>(path->string());
    DbfLayout layout;
    try {
      std::string header(kDbfFixedHeader, '\0');
      header.resize(file->ReadUpTo(0, header.size(), header.data()));
      header.resize(DbfHeaderLength(header, file->size()));
      if (file->ReadUpTo(0, header.size(), header.data()) != header.size()) {
        throw TableError(TableError::Kind::kDamaged, "its header cannot be read");
      }
      layout = ReadDbfLayout(header, file->size());
    } catch (const TableError& failure) {
      throw TableError(failure.kind(), file_name + " is " + failure.what());
    }
    std::string code_page = layout.code_page;
    if (code_page.empty() || !ks::core::CharsetConverter::ForThisThread().Knows(code_page)) {
      code_page = options_.code_page;
    }
    std::unique_ptr<DbfMemoFile> memo = OpenMemo(*path, layout.memo_style);
    return std::make_unique<DbfCursor>(std::move(file), std::move(layout), std::move(code_page), std::move(memo),
                                       file_name);
  }

 private:
  fs::path folder_;
  TableReadOptions options_;
};

class DbfDriver : public TableDriver {
 public:
  explicit DbfDriver(std::string_view name) : name_(name) {}
  const std::string& Name() const override { return name_; }

  std::unique_ptr<TableConnection> Connect(const ConnectionString& connection,
                                           const TableReadOptions& options) override {
    const std::optional<std::string> dbq = connection.Get("DBQ");
    if (!dbq || dbq->empty()) {
      throw TableError(TableError::Kind::kNotFound, "the connection string names no folder of tables (DBQ)");
    }
    fs::path folder(*dbq);
    std::error_code error;
    // A table's file stands for its folder, whether it is there or not.
    if (!fs::is_directory(folder, error) && (HasExtension(folder, ".dbf") || fs::is_regular_file(folder, error))) {
      folder = folder.parent_path();
    }
    if (folder.empty()) folder = ".";
    if (!fs::is_directory(folder, error)) {
      throw TableError(TableError::Kind::kNotFound, "no folder " + folder.string());
    }
    return std::make_unique<DbfConnection>(std::move(folder), options);
  }

 private:
  std::string name_;
};

}  // namespace

std::unique_ptr<TableDriver> MakeDbaseDriver() { return std::make_unique<DbfDriver>(kDbaseDriverName); }
std::unique_ptr<TableDriver> MakeFoxProDriver() { return std::make_unique<DbfDriver>(kFoxProDriverName); }

}  // namespace ks::tables
