// The Paradox driver: the corpus tables of Paradox 3, 4 and 7 (values pinned
// from their bytes), every field type, and tables damaged on purpose.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "importers/tables/builtin_drivers.h"
#include "importers/tables/paradox_values.h"
#include "importers/tables/table_rows.h"
#include "temp_dir.h"

namespace ks::tables {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(KS_SHARED_DIR) / "corpus" / "paradox";

std::unique_ptr<TableConnection> Connect(const fs::path& dbq) {
  return MakeParadoxDriver()->Connect(ConnectionString("DBQ=" + dbq.string()), {});
}

struct Table {
  std::vector<std::string> columns;
  std::vector<Row> rows;
  std::vector<std::string> binary;
  double progress = 0;
};

Table ReadTable(const fs::path& folder, const std::string& name) {
  const auto cursor = Connect(folder)->OpenTable(name);
  Table table{cursor->ColumnNames(), RowsOf(*cursor), cursor->BinaryColumns()};
  table.progress = cursor->Progress();
  return table;
}

Row Values(std::initializer_list<const char*> values) {
  Row row;
  for (const char* value : values)
    row.push_back(value ? std::optional<std::string>(value) : std::nullopt);
  return row;
}

class ParadoxCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no Paradox corpus at " << kCorpus;
  }
};

TEST_F(ParadoxCorpus, EveryDbFileOfTheFolderIsATable) {
  std::vector<std::string> names;
  for (const TableEntry& entry : Connect(kCorpus / "FILMS.DB")->Tables()) {
    EXPECT_EQ(entry.type, "TABLE");
    names.push_back(entry.name);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"AREACODE", "CONTACTS", "CUSTOMER", "FILMS",
                                             "HERCULES", "MEMBRE", "ORDERS", "TypSammlung"}));
  EXPECT_TRUE(Connect(kCorpus)->Columns("NOSUCH").empty());
  EXPECT_EQ(Connect(kCorpus)->Columns("films").size(), 9u);  // names match whatever their case
}

TEST_F(ParadoxCorpus, ReadsParadox3And4Tables) {
  const Table films = ReadTable(kCorpus, "FILMS");
  ASSERT_EQ(films.rows.size(), 36u);
  EXPECT_EQ(films.columns[0], "Film #");
  EXPECT_EQ(films.rows.front(), Values({"A1001", "It Happened One Night", "15", "C.Gable,C.Colbert",
                                        "Classics", "1934", "G", "2", "20"}));
  EXPECT_EQ(films.rows.back(), Values({"C1211", "Taxi Driver", "10", "R.DeNiro,C.Shepard", "Drama",
                                       "1982", "PG", "2.5", "10"}));
  EXPECT_EQ(films.progress, 1.0);

  const Table areas = ReadTable(kCorpus, "AREACODE");
  ASSERT_EQ(areas.rows.size(), 135u);
  EXPECT_EQ(areas.columns,
            (std::vector<std::string>{"Area Code", "Country", "Full State", "State"}));
  EXPECT_EQ(areas.rows.front(), Values({"201", "United States", "New Jersey", "NJ"}));
  EXPECT_EQ(areas.rows.back(), Values({"919", "United States", "North Carolina", "NC"}));
}

TEST_F(ParadoxCorpus, ReadsDatesAndCurrencyAcrossBlocks) {
  const Table orders = ReadTable(kCorpus, "ORDERS");
  ASSERT_EQ(orders.rows.size(), 224u);
  EXPECT_EQ(orders.rows.front(), Values({"1001", "1221", "1988-04-03", "1988-04-05", "UPS", "7320",
                                         "7320", "0", "FOB", "Credit", "Apr"}));
  EXPECT_EQ(orders.rows.back(), Values({"1669", "1221", "1992-05-05", "1992-05-07", "UPS", "325",
                                        "18", "307", "FOB", "Credit", "May"}));
}

TEST_F(ParadoxCorpus, ReadsMemosFromTheMemoFile) {
  const Table hercules = ReadTable(kCorpus, "HERCULES");
  ASSERT_EQ(hercules.rows.size(), 20u);
  EXPECT_EQ(hercules.rows[0][1],
            "<TABLE BORDER=2>\n<TR><TH>Name</TH><TH>EMail Address</TH></TR>\n");
  const Table customers = ReadTable(kCorpus, "CUSTOMER");
  ASSERT_EQ(customers.rows.size(), 20u);
  EXPECT_EQ(customers.rows[0],
            Values({"1", "Luke", "Justice", "luke@fun.com", "4-976 Sugarloaf Hwy", "Santa Cruz",
                    "CA", "94766", nullptr, "1996-02-02"}));
}

TEST_F(ParadoxCorpus, ReadsEveryFieldType) {
  const Table types = ReadTable(kCorpus, "TypSammlung");
  EXPECT_EQ(types.columns,
            (std::vector<std::string>{"Alpha", "Numerisch", "Währung", "Integer kurz",
                                      "Integer lang", "BCD", "Datum", "Zeit", "Datum/Zeit", "Memo",
                                      "Logisch", "Zähler", "Binär", "Bytes"}));
  EXPECT_EQ(types.binary, (std::vector<std::string>{"Binär", "Bytes"}));
  const std::vector<Row> expected = {
      Values({"AAA Irgendein Text", "40", "40", "40", "40", "40", "1970-01-01", "00:00:00",
              "1970-01-01 11:00:00", nullptr, nullptr, "1", nullptr, nullptr}),
      Values({"Erste Zeile", "23", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
              nullptr, "False", "3", nullptr, nullptr}),
      // A date before year 1 gives its number of days (and milliseconds).
      Values({"Fünfter Datensatz", "1.34", "13.002", nullptr, nullptr, "13.123457", "-366",
              "01:10:12", "-31618800000", "Dies ist eine Memo im 'Fünften Datensat'", nullptr, "5",
              nullptr, nullptr}),
      Values({"Null-Werte", "0", "0", "0", "0", "0", nullptr, nullptr, nullptr, nullptr, nullptr,
              "4", nullptr, nullptr}),
      Values({"Zweite Zeile", "-40", "-40", "-40", "-40", "-40", "1999-09-09", "11:11:11",
              "2003-06-10 11:11:11", nullptr, "True", "2", nullptr, nullptr}),
  };
  EXPECT_EQ(types.rows, expected);
}

TEST_F(ParadoxCorpus, TextIsReadInTheHeadersCodePage) {
  const Table members = ReadTable(kCorpus, "MEMBRE");  // code page 437
  ASSERT_EQ(members.rows.size(), 6u);
  EXPECT_EQ(members.columns[89], "Marié");
  EXPECT_EQ(members.columns[90], "N° Licence");
  EXPECT_EQ(members.rows[1][26], "Ancien-adhérent");
}

TEST(ParadoxValues, CurrencyReadsAsMoney) {
  // Stored big-endian with the sign bit flipped (a positive value).
  const auto stored = [](double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    bits ^= uint64_t{1} << 63;
    std::string bytes(8, '\0');
    for (int i = 0; i < 8; ++i) bytes[static_cast<size_t>(i)] = static_cast<char>(bits >> (56 - 8 * i));
    return bytes;
  };
  ks::tables::ParadoxField currency;
  currency.type = ks::tables::ParadoxType::kCurrency;
  currency.size = currency.width = 8;
  for (const auto& [value, text] : {std::pair{50.00000000000001, "50"}, std::pair{12.345, "12.345"}}) {
    std::string out;
    ASSERT_TRUE(ks::tables::AppendParadoxValue(currency, stored(value), out));
    EXPECT_EQ(out, text);
  }
}

// Tables written by the test: Paradox 7, 1 KiB blocks, fields Alpha(10),
// Long and Memo(15).
constexpr uint16_t kRecordSize = 10 + 4 + 15;

struct Block {
  uint16_t next = 0;
  uint16_t previous = 0;
  std::vector<std::string> records;
};

void PutWord(std::string& bytes, size_t at, uint32_t value, int size = 2) {
  for (int i = 0; i < size; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i));
}

std::string Record(const std::string& alpha, uint8_t long_high_byte,
                   const std::string& memo_tail = {}) {
  std::string record(kRecordSize, '\0');
  record.replace(0, alpha.size(), alpha);
  if (long_high_byte != 0) {
    record[10] = static_cast<char>(long_high_byte);
    record[13] = 7;
  }
  record.replace(kRecordSize - memo_tail.size(), memo_tail.size(), memo_tail);
  return record;
}

std::string TableBytes(const std::vector<Block>& blocks) {
  std::string bytes(0x800, '\0');
  PutWord(bytes, 0x00, kRecordSize);
  PutWord(bytes, 0x02, 0x800);
  bytes[0x04] = 2;  // a table without key
  bytes[0x05] = 1;  // 1 KiB blocks
  PutWord(bytes, 0x0E, blocks.empty() ? 0 : 1);
  PutWord(bytes, 0x21, 3);
  PutWord(bytes, 0x25, 0xFF00FF00, 4);
  bytes[0x39] = 12;
  PutWord(bytes, 0x6A, 1252);
  const std::string fields = {0x01, 10, 0x04, 4, 0x0C, 15};
  bytes.replace(0x78, fields.size(), fields);
  const std::string names("Name\0Count\0Note\0", 16);
  bytes.replace(0x78 + fields.size() + 4 + 3 * 4 + 261, names.size(), names);
  for (const Block& block : blocks) {
    std::string data(1024, '\0');
    PutWord(data, 0, block.next);
    PutWord(data, 2, block.previous);
    PutWord(data, 4,
            static_cast<uint16_t>((static_cast<int>(block.records.size()) - 1) * kRecordSize));
    for (size_t i = 0; i < block.records.size(); ++i)
      data.replace(6 + i * kRecordSize, kRecordSize, block.records[i]);
    bytes += data;
  }
  return bytes;
}

class ParadoxWritten : public ::testing::Test {
 protected:
  void Write(const std::string& name, const std::string& bytes) {
    std::ofstream(dir_.file(name), std::ios::binary) << bytes;
  }
  TableError::Kind KindOfFailure(const std::string& bytes) {
    Write("T.db", bytes);
    return FailureOf([&] { ReadTable(dir_.path(), "T"); }).kind();
  }
  TempDir dir_;
};

TEST_F(ParadoxWritten, ReadsNullsAndMemosKeptInTheRecordOrInAWholeMemoBlock) {
  // A memo: 5 bytes of leader, then where (block 0x1000 for it alone:
  // 0x10FF; 0 in the leader), its length and a modification number.
  const std::string in_file("Short\xFF\x10\0\0\x0C\0\0\0\1\0", 15);
  const std::string in_leader("Hi\0\0\0\0\0\0\0\x02\0\0\0\0\0", 15);
  Write(
      "t.DB",
      TableBytes(
          {{0, 0, {Record("", 0), Record("one", 0x80, in_leader), Record("two", 0x7F, in_file)}}}));
  std::string memo(0x2000, '\0');
  memo.replace(0x1000, 9, std::string("\x02\x01\0\x0C\0\0\0\x01\0", 9));
  memo.replace(0x1009, 12, "Short memo \xE9");
  Write("t.mb", memo);
  const Table table = ReadTable(dir_.path(), "T");
  EXPECT_EQ(table.columns, (std::vector<std::string>{"Name", "Count", "Note"}));
  EXPECT_EQ(table.rows, (Rows{Values({nullptr, nullptr, nullptr}), Values({"one", "7", "Hi"}),
                              Values({"two", "-16777209", "Short memo é"})}));

  fs::remove(dir_.file("t.mb"));  // without it a memo keeps its leader
  EXPECT_EQ(ReadTable(dir_.path(), "t").rows[2][2], "Short");
}

TEST_F(ParadoxWritten, ADamagedHeaderOrBlockChainIsReported) {
  const std::string good = TableBytes({{0, 0, {Record("a", 0x80)}}});
  std::string bad_type = good;
  bad_type[0x78] = 0x42;
  std::string wide_field = good;
  wide_field[0x7B] = 9;  // a Long of 9 bytes
  std::string encrypted = good;
  PutWord(encrypted, 0x5C, 0x1234, 4);
  const std::tuple<const char*, std::string, TableError::Kind> cases[] = {
      {"cut in the header", good.substr(0, 50), TableError::Kind::kDamaged},
      {"header beyond the file", good.substr(0, 0x700), TableError::Kind::kDamaged},
      {"unknown field type", bad_type, TableError::Kind::kDamaged},
      {"a Long of 9 bytes", wide_field, TableError::Kind::kDamaged},
      {"encrypted", encrypted, TableError::Kind::kPasswordProtected},
      {"blocks 1 -> 2 -> 1 -> ...",
       TableBytes({{2, 0, {Record("a", 0x80)}}, {1, 1, {Record("b", 0x80)}}}),
       TableError::Kind::kDamaged},
      {"a block naming itself as the next", TableBytes({{1, 0, {Record("a", 0x80)}}}),
       TableError::Kind::kDamaged},
      {"a block beyond the file", TableBytes({{9, 0, {Record("a", 0x80)}}}),
       TableError::Kind::kDamaged},
  };
  for (const auto& [what, bytes, kind] : cases) EXPECT_EQ(KindOfFailure(bytes), kind) << what;
}

TEST(ParadoxDriver, AMissingFolderIsNotFound) {
  EXPECT_EQ(FailureOf([] { Connect("/nonexistent/paradox"); }).kind(), TableError::Kind::kNotFound);
}

}  // namespace
}  // namespace ks::tables
