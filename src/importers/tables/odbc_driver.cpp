#include "importers/tables/odbc_driver.h"

#include <odbcinst.h>
#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <map>

#include "importers/tables/odbc_cursor.h"
#include "importers/tables/odbc_handle.h"

namespace ks::tables {
namespace {

// One open data source.  Its cursors share the session, so a cursor that
// outlives the connection object still holds a live connection.
class OdbcConnection final : public TableConnection {
 public:
  explicit OdbcConnection(std::shared_ptr<OdbcSession> session) : session_(std::move(session)) {
    SQLCHAR quote[8] = {};
    SQLSMALLINT length = 0;
    if (SQL_SUCCEEDED(SQLGetInfo(Dbc(), SQL_IDENTIFIER_QUOTE_CHAR, quote, sizeof quote, &length))) {
      quote_ = reinterpret_cast<const char*>(quote);
    }
    if (quote_ == " ") quote_.clear();  // the driver quotes no identifiers
  }

  std::vector<TableEntry> Tables() override {
    OdbcHandle statement(SQL_HANDLE_STMT, Dbc());
    statement.Check(SQLTables(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0),
                    "Could not list the tables");
    std::vector<TableEntry> tables;
    std::string name, type;
    while (Fetch(statement)) {
      // TABLE_NAME and TABLE_TYPE are the third and fourth columns.
      if (!ReadName(statement, 3, name)) continue;
      if (!ReadName(statement, 4, type)) type.clear();
      tables.push_back({name, type});
    }
    return tables;
  }

  std::vector<std::string> Columns(std::string_view table) override {
    OdbcHandle statement(SQL_HANDLE_STMT, Dbc());
    std::string pattern(table);
    statement.Check(SQLColumns(statement.get(), nullptr, 0, nullptr, 0,
                               reinterpret_cast<SQLCHAR*>(pattern.data()),
                               static_cast<SQLSMALLINT>(pattern.size()), nullptr, 0),
                    "Could not list the columns of " + pattern);
    // The table argument is a pattern ("_" matches any character), and the
    // same name may stand in several schemas: only the first schema's
    // columns of exactly this table count, by their ordinal position.
    std::map<long, std::string> by_position;
    std::string schema, first_schema, name, column, position;
    bool schema_seen = false;
    while (Fetch(statement)) {
      if (!ReadName(statement, 3, name) || name != table) continue;
      if (!ReadName(statement, 2, schema)) schema.clear();
      if (!schema_seen) {
        first_schema = schema;
        schema_seen = true;
      }
      if (schema != first_schema || !ReadName(statement, 4, column)) continue;
      const long ordinal = ReadName(statement, 17, position) ? std::atol(position.c_str()) : 0;
      by_position.emplace(ordinal != 0 ? ordinal : static_cast<long>(by_position.size()) + 1, column);
    }
    std::vector<std::string> columns;
    for (auto& [ordinal, column_name] : by_position) columns.push_back(std::move(column_name));
    return columns;
  }

  std::unique_ptr<TableCursor> OpenTable(std::string_view table) override {
    return std::make_unique<OdbcCursor>(session_, "SELECT * FROM " + Quoted(table));
  }

 private:
  SQLHDBC Dbc() const { return session_->connection->get(); }

  // The table's name as an identifier of this driver, a quote inside it
  // doubled.
  std::string Quoted(std::string_view name) const {
    if (quote_.empty()) return std::string(name);
    const std::string close = quote_ == "[" ? "]" : quote_;
    std::string quoted = quote_;
    for (size_t i = 0; i < name.size(); ++i) {
      if (name.compare(i, close.size(), close) == 0) {
        quoted += close;
        quoted += close;
        i += close.size() - 1;
      } else {
        quoted += name[i];
      }
    }
    return quoted + close;
  }

  static bool Fetch(const OdbcHandle& statement) {
    const SQLRETURN result = SQLFetch(statement.get());
    if (result == SQL_NO_DATA) return false;
    statement.Check(result, "Could not read the schema");
    return true;
  }

  // A name column of a catalog result, as the driver's bytes (UTF-8 for
  // the drivers this reads); false for a null.
  static bool ReadName(const OdbcHandle& statement, SQLUSMALLINT column, std::string& out) {
    out.clear();
    return ReadOdbcText(statement, column, nullptr, out);
  }

  std::shared_ptr<OdbcSession> session_;
  std::string quote_;  // the driver's identifier quote; empty when it has none
};

}  // namespace

std::vector<std::string> InstalledOdbcDriverNames() {
  // The list comes back in a buffer of at most 64 KiB, cut when too small.
  std::vector<char> buffer(4096);
  WORD used = 0;
  for (;;) {
    if (!SQLGetInstalledDrivers(buffer.data(), static_cast<WORD>(buffer.size()), &used)) return {};
    if (used + 1u < buffer.size() || buffer.size() >= 65535) break;
    buffer.assign(std::min<size_t>(buffer.size() * 4, 65535), '\0');
  }
  std::vector<std::string> names;
  const size_t end = std::min<size_t>(used, buffer.size());
  for (size_t at = 0; at < end && buffer[at] != '\0';) {
    const auto stop = std::find(buffer.begin() + static_cast<std::ptrdiff_t>(at),
                                buffer.begin() + static_cast<std::ptrdiff_t>(end), '\0');
    const auto length = static_cast<size_t>(stop - buffer.begin()) - at;
    names.emplace_back(buffer.data() + at, length);
    at += length + 1;
  }
  return names;
}

std::unique_ptr<TableConnection> ConnectOdbc(const ConnectionString& connection,
                                             const TableReadOptions&) {
  auto session = std::make_shared<OdbcSession>();
  SQLHENV environment = session->environment.get();
  session->environment.Check(
      SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0),
      "The ODBC driver manager refused version 3");
  session->connection = std::make_unique<OdbcHandle>(SQL_HANDLE_DBC, environment);
  const OdbcHandle& dbc = *session->connection;
  // The string goes to the driver as the host gave it: no user name or
  // password is added, and no dialog may ask for one.
  std::string text = connection.text();
  if (text.size() > 32767) throw TableError(TableError::Kind::kOther, "The ODBC connection string is too long.");
  SQLSMALLINT length = 0;
  SQLCHAR completed[1024];
  dbc.Check(SQLDriverConnect(dbc.get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                             static_cast<SQLSMALLINT>(text.size()), completed, sizeof completed,
                             &length, SQL_DRIVER_NOPROMPT),
            "Could not connect to " + connection.Displayed());
  // Only read; a driver that has no such mode reads the same.
  SQLSetConnectAttr(dbc.get(), SQL_ATTR_ACCESS_MODE, reinterpret_cast<SQLPOINTER>(SQL_MODE_READ_ONLY), 0);
  return std::make_unique<OdbcConnection>(std::move(session));
}

}  // namespace ks::tables
