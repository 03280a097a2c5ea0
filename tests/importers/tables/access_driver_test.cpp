// The built-in Access driver on the corpus' .mdb and .accdb files: what it
// lists, the text of each kind of value, the files it refuses, and the
// import errors those give; then the byte-level value rules alone.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>

#include "core/utf16_decoder.h"
#include "importers/import_fixture.h"
#include "importers/tables/access_property_blob.h"
#include "importers/tables/access_values.h"
#include "importers/tables/ado_util.h"
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/table_drivers.h"
#include "importers/tables/table_rows.h"

namespace ks::tables {
namespace {

std::string CorpusFile(const std::string& name) { return KS_SHARED_DIR "/corpus/mdb/" + name; }

#define SKIP_WITHOUT(file)                                                        \
  if (!std::filesystem::exists(CorpusFile(file))) GTEST_SKIP() << "no " << file;

std::unique_ptr<TableConnection> Connect(const std::string& path) {
  return MakeAccessDriver()->Connect(ConnectionString("DBQ=" + ConnectionString::Quote(path)), {});
}

Rows ReadAll(TableConnection& connection, const std::string& table) {
  return RowsOf(*connection.OpenTable(table));
}

TableError::Kind ConnectError(const std::string& path) {
  return FailureOf([&] { Connect(path)->Tables(); }).kind();
}

TEST(AccessDriver, ListsUserTablesSystemTablesAndSelectQueries) {
  SKIP_WITHOUT("queryTestV2003.mdb");
  const auto connection = Connect(CorpusFile("queryTestV2003.mdb"));
  std::vector<std::string> tables, system, views;
  for (const TableEntry& t : connection->Tables()) {
    (t.type == "TABLE" ? tables : t.type == "SYSTEM TABLE" ? system : views).push_back(t.name);
  }
  EXPECT_EQ(tables, (std::vector<std::string>{"Table1", "Table2", "Table3"}));
  EXPECT_EQ(views, std::vector<std::string>{"SelectQuery"}) << "queries that change data are no views";
  EXPECT_NE(std::find(system.begin(), system.end(), "MSysObjects"), system.end());
  EXPECT_EQ(ImportableTables(*connection, TableSourceKind::kAccess), tables);
  EXPECT_EQ(connection->Columns("Table2"), (std::vector<std::string>{"col1", "col2", "col3"}));
  EXPECT_TRUE(connection->Columns("SelectQuery").empty());
  EXPECT_THROW(connection->OpenTable("SelectQuery"), TableError);
  EXPECT_THROW(connection->OpenTable("NoSuchTable"), TableError);
}

TEST(AccessDriver, DatesBefore1900ExtendedAndCalculatedDates) {
  SKIP_WITHOUT("oldDatesV2007.accdb");
  SKIP_WITHOUT("extDateTestV2019.accdb");
  const Rows old = ReadAll(*Connect(CorpusFile("oldDatesV2007.accdb")), "Table1");
  ASSERT_GE(old.size(), 4u);
  EXPECT_EQ(old[0][1], "1582-10-15");
  EXPECT_EQ(old[3][1], "1392-01-10");
  const Rows extended = ReadAll(*Connect(CorpusFile("extDateTestV2019.accdb")), "Table1");
  ASSERT_GE(extended.size(), 5u);
  // Extended date/time, ordinary date/time, calculated date/time.
  EXPECT_EQ(extended[2][2], "2021-06-14 12:45:00");
  EXPECT_EQ(extended[2][3], "2021-06-14 12:45:00");
  EXPECT_EQ(extended[2][5], "2021-06-14 12:45:00");
  EXPECT_EQ(extended[4], (std::vector<std::optional<std::string>>{"5", "row5", {}, {}, {}, {}}));
}

TEST(AccessDriver, RefusesEncryptedDamagedAndMissingFiles) {
  SKIP_WITHOUT("db2007-enc.accdb");
  EXPECT_EQ(ConnectError(CorpusFile("db2007-enc.accdb")), TableError::Kind::kPasswordProtected);
  EXPECT_EQ(ConnectError(CorpusFile("db2013-enc.accdb")), TableError::Kind::kPasswordProtected);
  EXPECT_EQ(ReadAll(*Connect(CorpusFile("db-enc.mdb")), "Table1").size(), 2u)
      << "pages encoded without a password are read";
  EXPECT_EQ(ConnectError(CorpusFile("none.mdb")), TableError::Kind::kNotFound);
  TempDir dir;
  EXPECT_EQ(ConnectError(WriteFile(dir, "text.mdb", "Name,Town\nSmith,Oslo\n")), TableError::Kind::kDamaged);
  // A real header on a file cut after its first pages: read as far as it
  // goes, or refused as damaged.
  const std::string cut = WriteFile(dir, "cut.mdb", ReadFile(CorpusFile("testV1997.mdb")).substr(0, 2048 * 4));
  const TableError error = FailureOf([&] {
    const auto connection = Connect(cut);
    for (const TableEntry& t : connection->Tables()) {
      if (t.type == "TABLE") ReadAll(*connection, t.name);
    }
  });
  EXPECT_TRUE(error.kind() == TableError::Kind::kDamaged || std::string(error.what()) == "nothing was thrown")
      << error.what();
}

// fixedTextTestV2000.mdb with `copies` more copies of the users table's
// data page at its end, and the table's page map made unreadable, so that
// libmdb looks at every page of the file for the table's rows.
std::string GrownUsersTable(const TempDir& dir, size_t copies) {
  std::string bytes = ReadFile(CorpusFile("fixedTextTestV2000.mdb"));
  constexpr size_t kPage = 4096, kMapPage = 22, kMapRow = 4027, kDataPage = 23;
  bytes[kMapPage * kPage + kMapRow] = 7;  // no map type libmdb knows
  const std::string data = bytes.substr(kDataPage * kPage, kPage);
  for (size_t i = 0; i < copies; ++i) bytes += data;
  return WriteFile(dir, "grown.mdb", bytes);
}

TEST(AccessDriver, MemoryDoesNotGrowWithTheTable) {
  SKIP_WITHOUT("fixedTextTestV2000.mdb");
  TempDir dir;
  const auto connection = Connect(GrownUsersTable(dir, 2000));
  const auto cursor = connection->OpenTable("users");
  size_t rows = 0, first = 0, most = 0;
  while (cursor->Next()) {
    const size_t in_use = mallinfo2().uordblks;
    if (++rows == 10) first = in_use;
    most = std::max(most, in_use);
  }
  EXPECT_EQ(rows, 2u + 2000u * 2u);
#if !defined(__SANITIZE_ADDRESS__)
  EXPECT_LT(most - first, 64u * 1024u) << "the heap grew with the rows read";
#endif
}

TEST(AccessDriver, ATableWithoutAPageMapIsDamaged) {
  SKIP_WITHOUT("fixedTextTestV2000.mdb");
  // The users table's definition (page 21) names its page map by a row
  // its map page does not have: libmdb leaves the map null and then reads
  // through it when looking for rows (found by the fuzz target).
  std::string bytes = ReadFile(CorpusFile("fixedTextTestV2000.mdb"));
  bytes[21 * 4096 + 55] = static_cast<char>(0xF0);
  TempDir dir;
  const auto connection = Connect(WriteFile(dir, "nomap.mdb", bytes));
  EXPECT_EQ(FailureOf([&] { ReadAll(*connection, "users"); }).kind(), TableError::Kind::kDamaged);
}

class AccessImport : public ImportFixture {};

// An encrypted file's 11026 is the corpus import test's.
TEST_F(AccessImport, RowsBecomeDocumentsAndNoUserTableIs14003) {
  SKIP_WITHOUT("fixedTextTestV2000.mdb");
  const ImportOutcome read = Import({QueuedFile(CorpusFile("fixedTextTestV2000.mdb"), KSIMP_TYPE_ACCESS)});
  EXPECT_EQ(read.result, 1u);
  EXPECT_EQ(read.documents_added, 2u);

  // The one user table renamed into the system tables' names.
  std::string bytes = ReadFile(CorpusFile("fixedTextTestV2000.mdb"));
  const std::string users("u\0s\0e\0r\0s\0", 10);
  const size_t at = bytes.find(users);
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, users.size(), std::string("M\0S\0y\0s\0X\0", 10));
  FreshDatabase();
  const ImportOutcome none = Import({Source("system.mdb", bytes, KSIMP_TYPE_ACCESS)});
  EXPECT_EQ(none.error, 14003u) << none.log;
}

TEST(AccessCatalogCheck, PropertyBlobsLibmdbWouldMisread) {
  // "KKD", a list of one name ("N"), a block named "" with one text
  // property of that name holding "v".
  const std::string names = Bytes({9, 0, 0, 0, 0x80, 0, 1, 0, 'N'});
  const std::string block = Bytes({15, 0, 0, 0, 0, 0, 9, 0, 0, 10 /* text */, 0, 0, 1, 0, 'v'});
  const std::string kkd = std::string("KKD\0", 4) + names;
  EXPECT_TRUE(access::IsSafePropertyBlob(kkd + Bytes({21, 0, 0, 0, 0, 0}) + block));
  EXPECT_FALSE(access::IsSafePropertyBlob(kkd + Bytes({0, 0, 0, 0, 0, 0})))
      << "a record of length 0, on which libmdb loops for ever";
  EXPECT_FALSE(access::IsSafePropertyBlob(kkd + Bytes({60, 0, 0, 0, 0, 0}) + block))
      << "a record reaching past the blob";
  EXPECT_FALSE(access::IsSafePropertyBlob(std::string("KKD\0", 4) + Bytes({21, 0, 0, 0, 0, 0}) + block))
      << "properties before the names";
  EXPECT_FALSE(access::IsSafePropertyBlob("KK"));
}

// The text `append` makes of `bytes`; "(refused)", and whatever it wrote
// anyway, when it refuses them.
std::string TextOf(bool (*append)(std::string_view, std::string&), std::string_view bytes) {
  std::string out;
  return append(bytes, out) ? out : "(refused)" + out;
}

std::string NumericText(std::string_view bytes, int scale) {
  std::string out;
  return access::AppendNumeric(bytes, scale, out) ? out : "(refused)" + out;
}

TEST(AccessValues, NumbersFromTheirStoredBytes) {
  // -123.4500 as a decimal of scale 4: 1234500 in the least significant word.
  EXPECT_EQ(NumericText(Bytes({0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x44, 0xD6, 0x12, 0}), 4), "-123.45");
  // 2^32 + 5 at scale 0: the two low words, most significant first.
  EXPECT_EQ(NumericText(Bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 5, 0, 0, 0}), 0), "4294967301");
  EXPECT_EQ(NumericText("short", 2), "(refused)");
  EXPECT_EQ(TextOf(access::AppendMoney, Bytes({0xF0, 0xD8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})), "-1")
      << "-10000 ten-thousandths";
  EXPECT_EQ(TextOf(access::AppendSingle, Bytes({0xCD, 0xCC, 0xCC, 0x3D})), "0.1")
      << "the single's own shortest text";
  EXPECT_EQ(TextOf(access::AppendDoubleValue, "1234"), "(refused)");
}

TEST(AccessValues, TextGuidsAndExtendedDates) {
  core::Utf16Decoder utf16(core::Utf16Decoder::ByteOrder::kLittleEndian);
  const auto jet4 = [&utf16](const std::string& bytes) {
    std::string out;
    access::AppendJet4Text(bytes, utf16, out);
    return out;
  };
  // Compressed: "ab", then a UTF-16 run with U+0416, then "c".
  EXPECT_EQ(jet4(Bytes({0xFF, 0xFE, 'a', 'b', 0, 0x16, 0x04, 0, 'c'})), "ab\u0416c");
  EXPECT_EQ(jet4(Bytes({'x', 0, 0x00, 0xD8, 'y', 0})), "x\uFFFDy") << "a lone surrogate";
  EXPECT_EQ(TextOf(access::AppendGuid, Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16})),
            "{04030201-0605-0807-090A-0B0C0D0E0F10}");
  EXPECT_EQ(TextOf(access::AppendExtendedDateTime, "0000000000000000000:0000000000010000000:7"),
            "0001-01-01 00:00:01");
  EXPECT_EQ(TextOf(access::AppendExtendedDateTime, "0000000000000000000:9999999999999999999:7"),
            "(refused)");
  EXPECT_EQ(TextOf(access::AppendExtendedDateTime, "000000000000000000-:0000000000000000000:7"),
            "(refused)");
  std::string_view result;
  EXPECT_FALSE(access::UnwrapCalculated(Bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 1}), result));
}

}  // namespace
}  // namespace ks::tables
