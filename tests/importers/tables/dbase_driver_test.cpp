// The dBase and FoxPro reader: the shared corpus's tables (memos in .dbt and
// .fpt files, Visual FoxPro nulls and varchars, code pages) and small tables
// written here for what the corpus lacks (stored dates and numbers, damaged
// headers, a file cut short).
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "api/write_file.h"
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/table_rows.h"
#include "temp_dir.h"

namespace {

using ks::tables::TableError;

const std::filesystem::path kCorpus = std::filesystem::path(KS_SHARED_DIR) / "corpus" / "dbf";

struct Field {
  const char* name;
  char type;
  uint8_t length;
  uint8_t flags = 0;  // Visual FoxPro: 0x02 nullable
};

// A table of `version` whose records are given as stored, deletion flag
// first.
std::string Dbf(const std::vector<Field>& fields, const std::vector<std::string>& records, uint8_t language = 0x03,
                uint8_t version = 0x03) {
  std::string out(32, '\0');
  out[0] = static_cast<char>(version);
  const auto count = static_cast<uint32_t>(records.size());
  const size_t backlink = version == 0x30 ? 263 : 0;  // Visual FoxPro's
  const auto header = static_cast<uint16_t>(32 + 32 * fields.size() + 1 + backlink);
  uint16_t length = 1;
  for (const Field& f : fields) length = static_cast<uint16_t>(length + f.length);
  std::memcpy(out.data() + 4, &count, 4);
  std::memcpy(out.data() + 8, &header, 2);
  std::memcpy(out.data() + 10, &length, 2);
  out[29] = static_cast<char>(language);
  for (const Field& f : fields) {
    std::string descriptor(32, '\0');
    std::memcpy(descriptor.data(), f.name, std::strlen(f.name));
    descriptor[11] = f.type;
    descriptor[16] = static_cast<char>(f.length);
    descriptor[18] = static_cast<char>(f.flags);
    out += descriptor;
  }
  out += '\r' + std::string(backlink, '\0');
  for (const std::string& record : records) out += record;
  return out + '\x1a';
}

// Every row of `table` in `folder`.
std::vector<Row> ReadAll(const std::filesystem::path& folder, const std::string& table,
                         std::vector<std::string>* columns = nullptr, const std::string& code_page = "WINDOWS-1252") {
  ks::tables::TableReadOptions options;
  options.code_page = code_page;
  const auto connection = ks::tables::MakeDbaseDriver()->Connect(
      ks::tables::ConnectionString("DBQ=" + folder.string()), options);
  const auto cursor = connection->OpenTable(table);
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

TEST_F(DbaseCorpus, MemosComeFromDbtAndFptFiles) {
  std::vector<std::string> columns;
  std::vector<Row> rows = ReadAll(kCorpus, "dbase_83", &columns);
  ASSERT_EQ(rows.size(), 67u);
  EXPECT_EQ(columns[11], "DESC");
  EXPECT_TRUE(rows[0][11]->starts_with("Our Original assortment...a little taste of heaven"));
  rows = ReadAll(kCorpus, "dbase_8b");  // dBase IV: blocks with a length
  EXPECT_EQ(rows[0][5], "First memo\r\n");
  EXPECT_EQ(rows[0][3], "True");
  EXPECT_EQ(rows[2][3], std::nullopt);
  // Visual FoxPro, the memo file's extension in capitals; one record deleted.
  rows = ReadAll(kCorpus, "memotest");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1], (Row{"Bob", "1980-11-12", "Bob memo"}));
  rows = ReadAll(kCorpus, "dbase_f5");  // FoxPro 2
  EXPECT_EQ(rows.size(), 975u);
}

TEST_F(DbaseCorpus, AMissingMemoFileLeavesTheMemosNull) {
  const std::vector<Row> rows = ReadAll(kCorpus, "no_memofile");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], (Row{"Alice", "1987-03-01", std::nullopt}));
  const auto cursor = ks::tables::MakeDbaseDriver()
                          ->Connect(ks::tables::ConnectionString("DBQ=" + kCorpus.string()), {})
                          ->OpenTable("no_memofile");
  ASSERT_EQ(cursor->Notes().size(), 1u) << "the import log learns why the memos are empty";
  EXPECT_NE(cursor->Notes()[0].find("memo file of no_memofile.dbf is missing"), std::string::npos)
      << cursor->Notes()[0];
}

TEST_F(DbaseCorpus, VisualFoxProTypesNullsAndVarchars) {
  std::vector<std::string> columns;
  std::vector<Row> rows = ReadAll(kCorpus, "dbase_31", &columns);
  ASSERT_EQ(rows.size(), 77u);
  EXPECT_EQ(columns.size(), 10u) << "_NullFlags is no column";
  EXPECT_EQ(rows[0], (Row{"1", "Chai", "1", "1", "10 boxes x 20 bags", "18", "39", "0", "10", "False"}));
  rows = ReadAll(kCorpus, "dbase_32", &columns);
  EXPECT_EQ(columns, std::vector<std::string>{"NAME"});
  EXPECT_EQ(rows[0][0], "Bad Meets Evil");
}

TEST_F(DbaseCorpus, TheLanguageDriverNamesTheCodePage) {
  std::vector<Row> rows = ReadAll(kCorpus, "cp1251", nullptr, "CP437");
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[1], (Row{"2", "больничное"}));
}

TEST(DbaseTable, DatesNumbersAndLogicalsAsText) {
  TempDir dir;
  const std::vector<Field> fields = {{"D", 'D', 8}, {"N", 'N', 8}, {"L", 'L', 1}, {"C", 'C', 6}};
  const auto record = [&](char flag, std::vector<std::string> values) {
    std::string out(1, flag);
    for (size_t i = 0; i < fields.size(); ++i) out += values[i] + std::string(fields[i].length - values[i].size(), ' ');
    return out;
  };
  WriteFile(dir, "t.DBF", Dbf(fields, {record(' ', {"19610704", "   12.50", "T", "caf\xe9"}),  // Windows-1252
                                       record(' ', {"", "  -0.000", "?", ""}),
                                       record('*', {"20000101", "1", "F", "gone"}),
                                       record(' ', {"NotADate", "********", "n", ""}),
                                       record(' ', {"20010229", "1,50", "x", "x"})}));
  const std::vector<Row> rows = ReadAll(dir.path(), "t");
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0], (Row{"1961-07-04", "12.5", "True", "café"}));
  EXPECT_EQ(rows[1], (Row{std::nullopt, "0", std::nullopt, ""}));
  // What is no date or number stays as stored; stars mean a number too wide.
  EXPECT_EQ(rows[2], (Row{"NotADate", std::nullopt, "False", ""}));
  EXPECT_EQ(rows[3], (Row{"20010229", "1.5", std::nullopt, "x"}));
}

TEST(DbaseTable, VisualFoxProNullFlagsMakeNullsAndVarcharLengths) {
  TempDir dir;
  // _NullFlags: bit 0 the varchar's length, bit 1 V null, bit 2 I null.
  const std::vector<Field> fields = {
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
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], (Row{"ab", "-7", "-1.2345", "2000-01-01 12:34:56"}));
  EXPECT_EQ(rows[1], (Row{std::nullopt, std::nullopt, "1", std::nullopt}));
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
    try {
      ReadAll(dir.path(), "bad");
      ADD_FAILURE() << "read: " << reason;
    } catch (const TableError& error) {
      EXPECT_EQ(error.kind(), TableError::Kind::kDamaged);
      EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
      EXPECT_NE(std::string(error.what()).find("bad.dbf"), std::string::npos) << error.what();
    }
  }
}

TEST(DbaseTable, AFileCutShortGivesItsWholeRecordsThenFails) {
  TempDir dir;
  const std::string table = Dbf({{"C", 'C', 4}}, {" abcd", " efgh", " ijkl"});
  WriteFile(dir, "cut.dbf", table.substr(0, table.size() - 4));
  const auto connection = ks::tables::MakeDbaseDriver()->Connect(
      ks::tables::ConnectionString("DBQ=" + dir.path().string()), {});
  const auto cursor = connection->OpenTable("cut");
  ASSERT_TRUE(cursor->Next());
  ASSERT_TRUE(cursor->Next());
  EXPECT_EQ(cursor->Value(0), "efgh");
  EXPECT_THROW(cursor->Next(), TableError);
}

TEST(DbaseTable, AFolderOrAMissingTableIsNotFound) {
  TempDir dir;
  EXPECT_THROW(ks::tables::MakeDbaseDriver()->Connect(
                   ks::tables::ConnectionString("DBQ=" + dir.file("no/such/folder")), {}),
               TableError);
  const auto connection = ks::tables::MakeDbaseDriver()->Connect(
      ks::tables::ConnectionString("DBQ=" + dir.file("absent.dbf")), {});
  EXPECT_TRUE(connection->Tables().empty());
  try {
    connection->OpenTable("absent");
    ADD_FAILURE();
  } catch (const TableError& error) {
    EXPECT_EQ(error.kind(), TableError::Kind::kNotFound);
  }
}

}  // namespace
