// The Paradox driver: a folder of .db files (its DBQ) is a data source whose
// tables are those files, each named by its file name without the
// extension, with memos in the .mb file of the same name.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "importers/tables/builtin_drivers.h"
#include "importers/tables/paradox_cursor.h"

namespace ks::tables {
namespace {

namespace fs = std::filesystem;

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    const auto lower = [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return lower(x) == lower(y);
  });
}

// The regular files of `folder` with the extension `extension` (".db"),
// whatever its case, in name order.
std::vector<fs::path> FilesWithExtension(const fs::path& folder, std::string_view extension) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code type_error;
    if (it->is_regular_file(type_error) &&
        EqualIgnoringCase(it->path().extension().string(), extension)) {
      files.push_back(it->path());
    }
  }
  if (error)
    throw TableError(TableError::Kind::kNotFound, folder.string() + ": " + error.message());
  std::sort(files.begin(), files.end());
  return files;
}

// The file among `files` whose name without extension is `stem`: the one
// written so, else one that differs only in case; empty when none.
fs::path FindByStem(const std::vector<fs::path>& files, std::string_view stem) {
  for (const fs::path& file : files) {
    if (file.stem() == stem) return file;
  }
  for (const fs::path& file : files) {
    if (EqualIgnoringCase(file.stem().string(), stem)) return file;
  }
  return {};
}

class ParadoxConnection : public TableConnection {
 public:
  ParadoxConnection(fs::path folder, const TableReadOptions& options)
      : folder_(std::move(folder)), options_(options) {}

  std::vector<TableEntry> Tables() override {
    std::vector<TableEntry> tables;
    for (const fs::path& file : FilesWithExtension(folder_, ".db")) {
      tables.push_back({file.stem().string(), "TABLE"});
    }
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    if (FindByStem(FilesWithExtension(folder_, ".db"), table).empty()) return {};
    return Open(table)->ColumnNames();
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override { return Open(table); }

 private:
  std::unique_ptr<ParadoxCursor> Open(std::string_view table) {
    const fs::path path = FindByStem(FilesWithExtension(folder_, ".db"), table);
    if (path.empty()) {
      throw TableError(TableError::Kind::kNotFound,
                       "no Paradox table " + std::string(table) + " in " + folder_.string());
    }
    const fs::path memo = FindByStem(FilesWithExtension(folder_, ".mb"), path.stem().string());
    return std::make_unique<ParadoxCursor>(path, memo, options_);
  }

  fs::path folder_;
  TableReadOptions options_;
};

class ParadoxDriver : public TableDriver {
 public:
  const std::string& Name() const override { return name_; }

  std::unique_ptr<TableConnection> Connect(const ConnectionString& connection,
                                           const TableReadOptions& options) override {
    const std::string dbq = connection.GetOr("DBQ", "");
    if (dbq.empty())
      throw TableError(TableError::Kind::kNotFound, "the connection names no folder (DBQ)");
    fs::path folder = dbq;
    std::error_code error;
    // A DBQ naming one of the tables stands for its folder.
    if (fs::is_regular_file(folder, error))
      folder = folder.has_parent_path() ? folder.parent_path() : ".";
    if (!fs::is_directory(folder, error)) {
      throw TableError(TableError::Kind::kNotFound, dbq + ": no such folder of Paradox tables");
    }
    return std::make_unique<ParadoxConnection>(folder, options);
  }

 private:
  std::string name_{kParadoxDriverName};
};

}  // namespace

std::unique_ptr<TableDriver> MakeParadoxDriver() {
  return std::make_unique<ParadoxDriver>();
}

}  // namespace ks::tables
