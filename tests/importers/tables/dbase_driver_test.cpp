// The dBase and FoxPro reader: the shared corpus's folder as tables (their
// values are compared with dbfread's, row by row, elsewhere) and small tables
// written here for what the corpus lacks (stored dates and numbers, Visual
// FoxPro nulls and varchars, code pages, damaged headers, a file cut short).
#include <gtest/gtest.h>

#include <filesystem>

#include "api/write_file.h"
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/dbase_file.h"
#include "importers/tables/table_rows.h"
#include "temp_dir.h"

namespace {

using ks::tables::TableError;

const std::filesystem::path kCorpus = std::filesystem::path(KS_SHARED_DIR) / "corpus" / "dbf";

std::unique_ptr<ks::tables::TableConnection> Connect(const std::string& dbq,
                                                    const ks::tables::TableReadOptions& options = {}) {
  return ks::tables::MakeDbaseDriver()->Connect(ks::tables::ConnectionString("DBQ=" + dbq), options);
}

// Every row of `table` in `folder`.
std::vector<Row> ReadAll(const std::filesystem::path& folder, const std::string& table,
                         std::vector<std::string>* columns = nullptr, const std::string& code_page = "WINDOWS-1252") {
  ks::tables::TableReadOptions options;
  options.code_page = code_page;
  const auto cursor = Connect(folder.string(), options)->OpenTable(table);
  if (columns) *columns = cursor->ColumnNames();
  const Rows rows = RowsOf(*cursor);
  EXPECT_DOUBLE_EQ(cursor->Progress(), 1.0);
  return rows;
}

class DbaseCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
  }
};

TEST_F(DbaseCorpus, EveryTableOfTheFolderIsListed) {
  const auto connection = ks::tables::MakeFoxProDriver()->Connect(
      ks::tables::ConnectionString("DBQ=" + (kCorpus / "people.dbf").string()), {});
  const auto tables = connection->Tables();
  ASSERT_EQ(tables.size(), 12u);
  EXPECT_EQ(tables[0].name, "cp1251");
  EXPECT_EQ(tables[0].type, "TABLE");
  EXPECT_EQ(connection->Columns("people"), (std::vector<std::string>{"NAME", "BIRTHDATE"}));
  EXPECT_TRUE(connection->Columns("nothing").empty());
}

// The memos' values (null) are compared with dbfread's; the note is ours.
TEST_F(DbaseCorpus, AMissingMemoFileIsNoted) {
  const auto cursor = Connect(kCorpus.string())->OpenTable("no_memofile");
  ASSERT_EQ(cursor->Notes().size(), 1u) << "the import log learns why the memos are empty";
  EXPECT_NE(cursor->Notes()[0].find("memo file of no_memofile.dbf is missing"), std::string::npos)
      << cursor->Notes()[0];
}

TEST(DbaseTable, DatesNumbersAndLogicalsAsText) {
  TempDir dir;
  const std::vector<DbfField> fields = {{"D", 'D', 8}, {"N", 'N', 8}, {"L", 'L', 1}, {"C", 'C', 6}};
  WriteFile(dir, "t.DBF", Dbf(fields, {DbfRecord(fields, {"19610704", "   12.50", "T", "caf\xe9"}),  // Windows-1252
                                       DbfRecord(fields, {"", "  -0.000", "?", ""}),
                                       DbfRecord(fields, {"20000101", "1", "F", "gone"}, '*'),
                                       DbfRecord(fields, {"NotADate", "********", "n", ""}),
                                       DbfRecord(fields, {"20010229", "1,50", "x", "x"})}));
  // What is no date or number stays as stored; stars mean a number too wide.
  EXPECT_EQ(ReadAll(dir.path(), "t"), (Rows{{"1961-07-04", "12.5", "True", "café"},
                                            {std::nullopt, "0", std::nullopt, ""},
                                            {"NotADate", std::nullopt, "False", ""},
                                            {"20010229", "1.5", std::nullopt, "x"}}));
}

TEST(DbaseTable, VisualFoxProNullFlagsMakeNullsAndVarcharLengths) {
  TempDir dir;
  // _NullFlags: bit 0 the varchar's length, bit 1 V null, bit 2 I null.
  const std::vector<DbfField> fields = {
      {"V", 'V', 6, 0x02}, {"I", 'I', 4, 0x02}, {"Y", 'Y', 8}, {"T", 'T', 8}, {"_NullFlags", '0', 1, 0x05}};
  const auto record = [](std::string v, int32_t i, int64_t y, uint32_t day, uint32_t ms, char flags) {
    std::string out = " " + v;
    out.append(reinterpret_cast<const char*>(&i), 4).append(reinterpret_cast<const char*>(&y), 8);
    out.append(reinterpret_cast<const char*>(&day), 4).append(reinterpret_cast<const char*>(&ms), 4);
    return out + flags;
  };
  WriteFile(dir, "vfp.dbf", Dbf(fields, {record(std::string("ab\0\0\0\x02", 6), -7, -12345, 2451545, 45296499, 0x01),
                                         record("full!!", 0, 10000, 0, 0, 0x06)},
                                0x03, 0x30));
  std::vector<std::string> columns;
  const std::vector<Row> rows = ReadAll(dir.path(), "vfp", &columns);
  EXPECT_EQ(columns, (std::vector<std::string>{"V", "I", "Y", "T"}));
  EXPECT_EQ(rows, (Rows{{"ab", "-7", "-1.2345", "2000-01-01 12:34:56"},
                        {std::nullopt, std::nullopt, "1", std::nullopt}}));
}

TEST(DbaseTable, WithoutALanguageDriverTheCallersCodePageReadsTheText) {
  TempDir dir;
  WriteFile(dir, "t.dbf", Dbf({{"C", 'C', 2}}, {" \x82\x8a"}, 0x00));
  EXPECT_EQ(ReadAll(dir.path(), "t", nullptr, "CP850")[0][0], "éè");
  EXPECT_EQ(ReadAll(dir.path(), "t", nullptr, "WINDOWS-1252")[0][0], "‚Š");
}

TEST(DbaseTable, DamagedHeadersAreRefusedWithTheReason) {
  TempDir dir;
  const std::string good = Dbf({{"C", 'C', 4}}, {" abcd", " efgh"});
  std::string zero_length = good;
  zero_length[10] = zero_length[11] = 0;
  std::string long_header = good;
  long_header[9] = 0x7f;
  std::string overrun = good;
  overrun[32 + 16] = 40;  // a field longer than the record
  const std::pair<std::string, std::string> cases[] = {
      {zero_length, "record length is 0"}, {long_header, "beyond the end of the file"},
      {overrun, "fields need 41 bytes"}, {"\x03\x7c\x01\x01 not a table", "holds only"},
      {std::string(40, ' '), "names no table version"}};
  for (const auto& [content, reason] : cases) {
    WriteFile(dir, "bad.dbf", content);
    const TableError error = FailureOf([&] { ReadAll(dir.path(), "bad"); });
    EXPECT_EQ(error.kind(), TableError::Kind::kDamaged) << reason;
    EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find("bad.dbf"), std::string::npos) << error.what();
  }
}

TEST(DbaseTable, AFileCutShortGivesItsWholeRecordsThenFails) {
  TempDir dir;
  const std::string table = Dbf({{"C", 'C', 4}}, {" abcd", " efgh", " ijkl"});
  WriteFile(dir, "cut.dbf", table.substr(0, table.size() - 4));
  const auto cursor = Connect(dir.path().string())->OpenTable("cut");
  ASSERT_TRUE(cursor->Next());
  ASSERT_TRUE(cursor->Next());
  EXPECT_EQ(cursor->Value(0), "efgh");
  EXPECT_THROW(cursor->Next(), TableError);
}

TEST(DbaseTable, AFolderOrAMissingTableIsNotFound) {
  TempDir dir;
  EXPECT_THROW(Connect(dir.file("no/such/folder")), TableError);
  const auto connection = Connect(dir.file("absent.dbf"));
  EXPECT_TRUE(connection->Tables().empty());
  EXPECT_EQ(FailureOf([&] { connection->OpenTable("absent"); }).kind(), TableError::Kind::kNotFound);
}

}  // namespace
