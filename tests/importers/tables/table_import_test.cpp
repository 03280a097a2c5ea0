// The table import end to end, on dBase tables this test writes: rows become
// documents of field lines, the settings string picks tables and field
// names, the progress figures, entry forms, and what goes wrong.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <tuple>

#include "api/import_session.h"
#include "api/session_import_context.h"
#include "core/charset_converter.h"
#include "importers/import_fixture.h"
#include "importers/tables/ado_import.h"
#include "importers/tables/dbase_file.h"
#include "ks_imp.h"

namespace {

const std::vector<DbfField> kPeople = {{"NAME", 'C', 12}, {"CITY", 'C', 8}, {"BORN", 'D', 8}, {"SCORE", 'N', 7}};

// A dBase table of kPeople holding `rows` (blank for a null).
std::string PeopleTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::string> records;
  for (const auto& row : rows) records.push_back(DbfRecord(kPeople, row));
  return Dbf(kPeople, records);
}

class TableImport : public ImportFixture {
 protected:
  // A table file in a folder of its own, as the driver reads every .dbf of
  // the folder as one of its tables.
  std::string Table(const std::string& folder, const std::string& name, const std::string& content) {
    std::filesystem::create_directories(dir_.file(folder));
    return WriteFile(dir_, folder + "/" + name, content);
  }

  static std::string Settings(const std::string& connection, const std::string& source,
                              const std::string& tables, const std::string& field_names = "") {
    return connection + '\x1b' + source + '\x1b' + tables + '\x1b' + field_names;
  }

  static std::string DbaseConnection(const std::string& file) {
    char buffer[4096] = {};
    EXPECT_EQ(KSIMP_GetTableConnectionString(KSIMP_TYPE_DBASE, file.c_str(), buffer, sizeof buffer), 1u);
    return buffer;
  }
};

TEST_F(TableImport, SettingsPickTheTablesAndTheFieldNames) {
  const std::string a = Table("db", "a.dbf", PeopleTable({{"Ann", "Rome", "20000101", "1"}}));
  Table("db", "b.dbf", PeopleTable({{"Bob", "Bonn", "20000102", "2"}, {"", "", "", ""}}));
  Table("db", "c.dbf", PeopleTable({{"Cy", "Lyon", "20000103", "3"}}));
  const std::string connection = DbaseConnection(a);

  // One table named: only it, under the user's field names (the columns
  // beyond them keep their own); a row of nulls is a document of empty
  // field lines.
  ImportOutcome outcome = Import({QueuedFile(
      Settings(connection, a, "b;end_tables", "Who\r\nWhere\r\n"), KSIMP_TYPE_DBASE)});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), (std::vector<std::string>{
                             "Who[ Bob ]\r\nWhere[ Bonn ]\r\nBORN[ 2000-01-02 ]\r\nSCORE[ 2 ]\r\n",
                             "Who[  ]\r\nWhere[  ]\r\nBORN[  ]\r\nSCORE[  ]\r\n"}));

  // Two named, in the order given; a table's file alone is that table, its
  // folder every table.
  FreshDatabase();
  Import({QueuedFile(Settings(connection, a, "c;a;end_tables"), KSIMP_TYPE_DBASE)});
  ASSERT_EQ(Documents().size(), 2u);
  EXPECT_TRUE(Documents()[0].starts_with("NAME[ Cy ]"));
  FreshDatabase();
  EXPECT_EQ(Import({QueuedFile(a, KSIMP_TYPE_DBASE)}).documents_added, 1u);
  FreshDatabase();
  EXPECT_EQ(Import({QueuedFile(dir_.file("db"), KSIMP_TYPE_DBASE)}).documents_added, 4u);
}

TEST_F(TableImport, ProgressStepDoublesFromTableToTableAndTheLengthComesLast) {
  for (const char* name : {"a.dbf", "b.dbf", "c.dbf"}) {
    Table("three", name, PeopleTable({{"x", "y", "", ""}}));
  }
  // The figures count from the source file's length, here 900 bytes.
  const std::string source = WriteFile(dir_, "source.dat", std::string(900, 'x'));
  const std::string connection = DbaseConnection(dir_.file("three/a.dbf"));

  CImportSession session;
  const uint32_t database = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  const uint32_t handle = session.InitImportUsingFileHandle(database);
  SETDATA options;
  options.import_handle = handle;
  options.file_name = Settings(connection, source, "a;b;c;end_tables");
  options.file_type = KSIMP_TYPE_DBASE;
  options.import_location = KSIMP_LOC_END;
  SessionImportContext context(session, handle, database, options);
  CImpADO importer;
  ASSERT_EQ(importer.Prepare(context), 1);
  EXPECT_EQ(importer.Run(), 1);
  // 600, 1200 and 2400 after the tables, 900 at the end.
  EXPECT_EQ(session.handles().CurrentBytes(handle), 5100u);
  EXPECT_EQ(session.handles().DocumentsAdded(handle), 3u);
  session.ReleaseHandle(handle);
  EngCloseDatabase(database);
}

TEST_F(TableImport, EntryFormModeMakesAnEntryPerRow) {
  CreateForm("Person", {"NAME", "CITY", "BORN", "SCORE"});
  QueuedFile file(Table("db", "p.dbf", PeopleTable({{"Ann", "Rome", "", "7"}, {"Bob", "", "", ""}})),
                  KSIMP_TYPE_DBASE);
  file.entry_form = "Person";
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].form, "Person");
  EXPECT_EQ(stored[0].fields, (std::vector<std::pair<std::string, std::string>>{
                                  {"NAME", "Ann"}, {"CITY", "Rome"}, {"BORN", ""}, {"SCORE", "7"}}));
}

TEST_F(TableImport, EmptyTablesAreSkippedAndFailuresSayWhy) {
  const std::string empty = Table("empty", "e.dbf", PeopleTable({}));
  Table("empty", "f.dbf", PeopleTable({{"Fay", "", "", ""}}));
  ImportOutcome outcome = Import({QueuedFile(dir_.file("empty"), KSIMP_TYPE_DBASE)});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(Documents().size(), 1u);

  // No connection in the settings; a folder without tables; a damaged table.
  outcome = Import({QueuedFile(Settings("", empty, "e;end_tables"), KSIMP_TYPE_DBASE)});
  EXPECT_EQ(outcome.error, 14004u);
  std::filesystem::create_directories(dir_.file("none"));
  const std::string none = dir_.file("none/x.dbf");
  outcome = Import({QueuedFile(Settings(DbaseConnection(none), none, ""), KSIMP_TYPE_DBASE)});
  EXPECT_EQ(outcome.error, 14003u);
  EXPECT_NE(outcome.log.find("The x.dbf database contains no tables"), std::string::npos) << outcome.log;
  const std::string broken = Table("broken", "b.dbf", "\x03\x7c\x01\x01 not a table");
  outcome = Import({QueuedFile(broken, KSIMP_TYPE_DBASE)});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_NE(outcome.log.find("b.dbf"), std::string::npos) << outcome.log;
  EXPECT_EQ(Documents().size(), 1u) << "what was imported before stays";
}

TEST_F(TableImport, AnAbortInsideATableKeepsTheRowsBeforeIt) {
  // Rows enough that a busy machine cannot finish them before the
  // aborting thread gets its turn.
  std::vector<std::vector<std::string>> rows(200000, {"Name", "Town", "20010101", "1"});
  const std::string big = Table("big", "big.dbf", PeopleTable(rows));
  ImportAbortingAfter(QueuedFile(big, KSIMP_TYPE_DBASE), 100, 200000);
}

// Every table file of the shared corpus imports, or fails with a message of
// the table import's own and its reason in the log; nothing it stores is
// anything but UTF-8.  Every dBase and FoxPro table imports.
TEST_F(TableImport, CorpusTablesImportOrSayWhyNot) {
  // How many files of each folder import: the others are encrypted (11026),
  // not what their extension says, or an Excel 2 to 4 workbook (11024),
  // each with its reason in the log.
  const std::vector<std::tuple<const char*, int32_t, size_t>> folders = {
      {"dbf", KSIMP_TYPE_DBASE, 12},  {"xls", KSIMP_TYPE_EXCEL, 11},      {"xlsx", KSIMP_TYPE_EXCEL, 12},
      {"mdb", KSIMP_TYPE_ACCESS, 9}, {"paradox", KSIMP_TYPE_PARADOX, 8}};
  if (!std::filesystem::exists(Corpus("dbf"))) GTEST_SKIP() << "no corpus";
  for (const auto& [folder, type, importing] : folders) {
    if (!std::filesystem::exists(Corpus(folder))) continue;
    size_t imported = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Corpus(folder))) {
      std::string extension = entry.path().extension().string();
      for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      if (extension == ".dbt" || extension == ".fpt" || extension == ".mb" || extension == ".px") continue;
      FreshDatabase();
      const ImportOutcome outcome = Import({QueuedFile(entry.path().string(), type)});
      const std::string name = entry.path().filename().string();
      if (outcome.result == 1) {
        ++imported;
      } else {
        EXPECT_TRUE(outcome.error == 11024 || outcome.error == 11026) << name << ": " << outcome.error;
        EXPECT_FALSE(outcome.log.empty()) << name;
      }
      if (name.find("enc.accdb") != std::string::npos || name.find("pass") != std::string::npos ||
          name.find("encryption") != std::string::npos) {
        EXPECT_EQ(outcome.error, 11026u) << name << " is password protected";
      }
      for (const std::string& text : Documents()) {
        EXPECT_TRUE(ks::core::IsValidUtf8(text)) << name;
      }
    }
    EXPECT_EQ(imported, importing) << folder;
  }
}

}  // namespace
