// The built-in Access driver: .mdb and .accdb files through libmdb
// (access_database.h), their values as text by our own rules
// (access_cursor.h).  DBQ names the database file.
#include <algorithm>

#include "importers/tables/access_cursor.h"
#include "importers/tables/access_database.h"
#include "importers/tables/builtin_drivers.h"

namespace ks::tables {
namespace {

class AccessConnection final : public TableConnection {
 public:
  AccessConnection(std::string path, const TableReadOptions& options)
      : path_(std::move(path)), options_(options), database_(std::make_unique<access::AccessDatabase>(path_)) {}

  std::vector<TableEntry> Tables() override { return database_->Objects(); }

  std::vector<std::string> Columns(std::string_view table) override {
    // The catalog holds no columns of queries and linked tables.
    const access::TableDefPtr definition = database_->OpenTable(table);
    if (definition == nullptr) return {};
    return access::ColumnNamesOf(definition.get());
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    // A database of its own: libmdb reads every table through one page
    // buffer per handle.
    auto database = std::make_unique<access::AccessDatabase>(path_);
    access::TableDefPtr definition = database->OpenTable(table);
    if (definition == nullptr) {
      const auto& objects = database->Objects();
      const bool other = std::any_of(objects.begin(), objects.end(), [&](const TableEntry& o) { return o.name == table; });
      throw TableError(other ? TableError::Kind::kOther : TableError::Kind::kNotFound,
                       std::string(table) + (other ? " is a saved query or a linked table, which cannot be read"
                                                   : ": no such table in the database"));
    }
    return std::make_unique<access::AccessCursor>(std::move(database), std::move(definition), options_);
  }

 private:
  std::string path_;
  TableReadOptions options_;
  std::unique_ptr<access::AccessDatabase> database_;
};

class AccessDriver final : public TableDriver {
 public:
  const std::string& Name() const override { return name_; }

  std::unique_ptr<TableConnection> Connect(const ConnectionString& connection,
                                           const TableReadOptions& options) override {
    const std::string path = connection.GetOr("DBQ", "");
    if (path.empty()) throw TableError(TableError::Kind::kNotFound, "the connection names no database (DBQ)");
    return std::make_unique<AccessConnection>(path, options);
  }

 private:
  std::string name_{kAccessDriverName};
};

}  // namespace

std::unique_ptr<TableDriver> MakeAccessDriver() { return std::make_unique<AccessDriver>(); }

}  // namespace ks::tables
