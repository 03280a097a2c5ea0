// Tables of ODBC data sources through unixODBC: SQLite through the SQLite3
// ODBC driver on a database the test writes, and PostgreSQL through its
// Unicode driver on a server the test starts; the driver list, the schema,
// every kind of value, failures, and imports giving documents.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>

#include "core/scoped_env.h"
#include "importers/import_fixture.h"
#include "importers/tables/ado_util.h"
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/odbc_driver.h"
#include "importers/tables/postgres_server.h"
#include "importers/tables/table_drivers.h"
#include "importers/tables/table_rows.h"

// unixODBC reads ODBCSYSINI once, at its first call in the process, and
// keeps that folder for good.
extern "C" char* odbcinst_system_file_path(char* buffer);

namespace ks::tables {
namespace {

constexpr const char* kOdbcDir = "/usr/lib/x86_64-linux-gnu/odbc/";
constexpr const char* kSqliteName = "Kestro SQLite3";
constexpr const char* kPostgresName = "Kestro PostgreSQL Unicode";

// The test's own odbcinst.ini, naming the drivers Debian installs.  Where
// unixODBC already settled on another folder earlier in this process (all
// tests run in one process), connection strings name the driver libraries
// instead, which needs no registration.
class OdbcDrivers {
 public:
  OdbcDrivers() : env_("ODBCSYSINI", dir_.path().string()) {
    Register({kSqliteName, kPostgresName});
    char buffer[4096] = {};
    registered_ = std::filesystem::equivalent(odbcinst_system_file_path(buffer), dir_.path());
  }
  void Register(std::initializer_list<const char*> names) const {
    std::ofstream ini(dir_.file("odbcinst.ini"));
    for (const std::string name : names) {
      const bool sqlite = name.find("SQLite") != std::string::npos;
      ini << '[' << name << "]\nDriver=" << kOdbcDir << (sqlite ? "libsqlite3odbc.so" : "psqlodbcw.so") << "\n\n";
    }
  }
  bool registered() const { return registered_; }
  std::string Driver(const char* name, const char* library) const {
    return registered_ ? std::string(name) : std::string(kOdbcDir) + library;
  }

 private:
  TempDir dir_;
  ScopedEnv env_;
  bool registered_ = false;
};

void Exec(sqlite3* db, const std::string& sql) {
  char* error = nullptr;
  ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
}

// A long memo with characters of every width, an emoji among them cut by
// the driver's pieces somewhere.
std::string Memo() {
  std::string memo;
  while (memo.size() < 100000) memo += "Zürich 😀 €5 ";
  return memo;
}


class OdbcSqlite : public ImportFixture {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(std::string(kOdbcDir) + "libsqlite3odbc.so")) {
      GTEST_SKIP() << "the SQLite3 ODBC driver is not installed";
    }
    ImportFixture::SetUp();
    const std::string path = dir_.file("data.sqlite");
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    Exec(db,
         "CREATE TABLE people (id INTEGER, name TEXT, price NUMERIC, born DATE, seen TIMESTAMP,"
         " ok BOOLEAN, ratio REAL, photo BLOB, memo TEXT);"
         "INSERT INTO people VALUES (-7, 'Ünïcode \"q\"', 12.5, '2024-02-29', '2024-02-29 13:45:06',"
         " 1, 0.1, x'0102', '" + Memo() + "');"
         "INSERT INTO people VALUES (NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL);"
         "CREATE TABLE \"odd \"\"name\"\" t\" (a TEXT); INSERT INTO \"odd \"\"name\"\" t\" VALUES ('x');"
         "CREATE TABLE empty (a TEXT);");
    sqlite3_close(db);
    connection_ = "DRIVER={" + drivers_.Driver(kSqliteName, "libsqlite3odbc.so") +
                  "};Database=" + ConnectionString::Quote(path) + ";NoCreat=1";
  }

  OdbcDrivers drivers_;
  std::string connection_;
};

TEST_F(OdbcSqlite, DriverListShowsTheRegisteredNamesAndRereadsTheFile) {
  if (!drivers_.registered()) GTEST_SKIP() << "unixODBC settled on another ODBCSYSINI earlier in this process";
  EXPECT_EQ(InstalledOdbcDriverNames(), (std::vector<std::string>{kSqliteName, kPostgresName}));
  drivers_.Register({kPostgresName, "Other", kSqliteName});
  EXPECT_EQ(InstalledOdbcDriverNames(), (std::vector<std::string>{kPostgresName, "Other", kSqliteName}));
  // After the ODBC names come the built-in drivers, still found by the
  // search texts of their file types.
  const TableDrivers drivers = TableDrivers::Installed();
  EXPECT_EQ(drivers.Names().front(), kPostgresName);
  EXPECT_EQ(drivers.Names().back(), kParadoxDriverName);
}

TEST_F(OdbcSqlite, TablesColumnsAndEveryKindOfValue) {
  const auto connection = ConnectOdbc(ConnectionString(connection_), {});
  std::vector<std::string> names;
  for (const TableEntry& table : connection->Tables()) {
    names.push_back(table.name);
    EXPECT_EQ(table.type, "TABLE") << table.name;
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"empty", "odd \"name\" t", "people"}));
  EXPECT_EQ(connection->Columns("people"),
            (std::vector<std::string>{"id", "name", "price", "born", "seen", "ok", "ratio", "photo", "memo"}));
  EXPECT_TRUE(connection->Columns("peopl_").empty()) << "a pattern character matches only itself";
  EXPECT_TRUE(connection->Columns("nothing").empty());

  const auto cursor = connection->OpenTable("people");
  EXPECT_EQ(cursor->ColumnNames(), connection->Columns("people"));
  EXPECT_EQ(cursor->BinaryColumns(), std::vector<std::string>{"photo"});
  EXPECT_EQ(RowsOf(*cursor), (std::vector<Row>{
                               {"-7", "Ünïcode \"q\"", "12.5", "2024-02-29", "2024-02-29 13:45:06", "True",
                                "0.1", std::nullopt, Memo()},
                               Row(9, std::nullopt),
                           }));
  EXPECT_FALSE(cursor->Next()) << "the end stays the end";

  EXPECT_EQ(RowsOf(*connection->OpenTable("odd \"name\" t")), std::vector<Row>{{"x"}});
  EXPECT_TRUE(RowsOf(*connection->OpenTable("empty")).empty());
  const std::string missing = FailureOf([&] { connection->OpenTable("missing"); }).what();
  EXPECT_NE(missing.find("missing"), std::string::npos) << missing;
}

TEST_F(OdbcSqlite, FailuresCarryTheDriversMessage) {
  const auto expect_failure = [](const std::string& text, TableError::Kind kind, const std::string& part) {
    const TableError error = FailureOf([&] { ConnectOdbc(ConnectionString(text), {}); });
    EXPECT_EQ(error.kind(), kind) << error.what();
    EXPECT_NE(std::string(error.what()).find(part), std::string::npos) << error.what();
    EXPECT_EQ(std::string(error.what()).find("s3cret"), std::string::npos) << "a password is not shown";
  };
  expect_failure("DRIVER={" + drivers_.Driver(kSqliteName, "libsqlite3odbc.so") + "};Database=" +
                     dir_.file("none.db") + ";NoCreat=1;PWD=s3cret",
                 TableError::Kind::kOther, "none.db");
  expect_failure("DSN=no such source;PWD=s3cret", TableError::Kind::kNotFound, "IM002");
  EXPECT_FALSE(std::filesystem::exists(dir_.file("none.db"))) << "nothing was created";
}

TEST_F(OdbcSqlite, ImportGivesADocumentPerRow) {
  QueuedFile file(connection_ + "\x1b\x1bodd \"name\" t;people;end_tables", KSIMP_TYPE_ODBC);
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  const std::vector<std::string> documents = Documents();
  ASSERT_EQ(documents.size(), 3u) << outcome.log;
  EXPECT_EQ(documents[0], "a[ x ]\r\n");
  EXPECT_EQ(documents[1], "id[ -7 ]\r\nname[ Ünïcode \"q\" ]\r\nprice[ 12.5 ]\r\nborn[ 2024-02-29 ]\r\n"
                          "seen[ 2024-02-29 13:45:06 ]\r\nok[ True ]\r\nratio[ 0.1 ]\r\nphoto[  ]\r\n"
                          "memo[ " + Memo() + " ]\r\n");
  EXPECT_EQ(documents[2], "id[  ]\r\nname[  ]\r\nprice[  ]\r\nborn[  ]\r\nseen[  ]\r\nok[  ]\r\n"
                          "ratio[  ]\r\nphoto[  ]\r\nmemo[  ]\r\n");
  EXPECT_NE(outcome.log.find("photo"), std::string::npos) << "the binary column is logged";
}

TEST(OdbcDriverList, BuiltInDriversKeepTheirSearchTextsBesideRealOdbcNames) {
  TableDrivers drivers({"PostgreSQL ANSI", "PostgreSQL Unicode", "SQLite", "SQLite3", "MDBTools"},
                       TableDrivers::BuiltIn());
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kAccess, "/d/a.mdb", drivers),
            "driver={" + std::string(kAccessDriverName) + "};dbq=/d/a.mdb");
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kDbase, "/d/t.dbf", drivers),
            "DRIVER={" + std::string(kDbaseDriverName) + "};DBQ=/d;SourceType=DBF;UID=admin");
  EXPECT_EQ(drivers.Find("SQLite"), "SQLite");
}

class OdbcPostgres : public ImportFixture {};

TEST_F(OdbcPostgres, ServerTablesImportAndWrongPassword) {
  const std::string library = std::string(kOdbcDir) + "psqlodbcw.so";
  if (!PostgresServer::Available() || !std::filesystem::exists(library)) {
    GTEST_SKIP() << "PostgreSQL or its ODBC driver is not installed";
  }
  OdbcDrivers odbc;
  PostgresServer server;
  ASSERT_TRUE(server.started()) << "the test server did not start";
  ASSERT_TRUE(server.Sql(
      "CREATE TABLE \"wé t\" (id int, big bigint, amount numeric(12,3), name text, day date,"
      " stamp timestamp, ok boolean, ratio double precision, bin bytea, \"cé\" varchar(20));"
      "INSERT INTO \"wé t\" VALUES (1, 9007199254740993, 12.500, 'Ünïcode 😀', '2024-02-29',"
      " '2024-02-29 13:45:06.5', true, 0.1, '\\x0102', 'x'),"
      " (NULL, NULL, NULL, NULL, NULL, NULL, false, NULL, NULL, NULL);"));
  const std::string base = "DRIVER={" + odbc.Driver(kPostgresName, "psqlodbcw.so") +
                           "};Server=127.0.0.1;Port=" + std::to_string(server.port()) +
                           ";Database=postgres;UID=postgres;PWD=";

  const auto connection = ConnectOdbc(ConnectionString(base + PostgresServer::kPassword), {});
  ASSERT_EQ(connection->Tables().size(), 1u);
  EXPECT_EQ(connection->Tables()[0].name, "wé t");
  EXPECT_EQ(connection->Columns("wé t"),
            (std::vector<std::string>{"id", "big", "amount", "name", "day", "stamp", "ok", "ratio", "bin", "cé"}));

  QueuedFile file(base + PostgresServer::kPassword, KSIMP_TYPE_ODBC);
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), (std::vector<std::string>{
                             "id[ 1 ]\r\nbig[ 9007199254740993 ]\r\namount[ 12.5 ]\r\nname[ Ünïcode 😀 ]\r\n"
                             "day[ 2024-02-29 ]\r\nstamp[ 2024-02-29 13:45:06 ]\r\nok[ True ]\r\n"
                             "ratio[ 0.1 ]\r\nbin[  ]\r\ncé[ x ]\r\n",
                             "id[  ]\r\nbig[  ]\r\namount[  ]\r\nname[  ]\r\nday[  ]\r\nstamp[  ]\r\n"
                             "ok[ False ]\r\nratio[  ]\r\nbin[  ]\r\ncé[  ]\r\n"}));

  // A wrong password is the protected-source message; nothing listening
  // is a plain failure naming the driver's reason.
  const TableError wrong = FailureOf([&] { ConnectOdbc(ConnectionString(base + "wrong"), {}); });
  EXPECT_EQ(wrong.kind(), TableError::Kind::kPasswordProtected) << wrong.what();
  FreshDatabase();
  const ImportOutcome refused = Import({QueuedFile(base + "wrong", KSIMP_TYPE_ODBC)});
  EXPECT_EQ(refused.result, 0u);
  EXPECT_EQ(refused.error, 11026u) << refused.log;
  const std::string nowhere = "DRIVER={" + odbc.Driver(kPostgresName, "psqlodbcw.so") +
                              "};Server=127.0.0.1;Port=" + std::to_string(PostgresServer::FreePort()) +
                              ";Database=postgres;UID=postgres";
  const TableError unreachable = FailureOf([&] { ConnectOdbc(ConnectionString(nowhere), {}); });
  EXPECT_EQ(unreachable.kind(), TableError::Kind::kOther);
  EXPECT_NE(std::string(unreachable.what()).find("08001"), std::string::npos) << unreachable.what();
}

}  // namespace
}  // namespace ks::tables
