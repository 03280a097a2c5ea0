// The built-in Excel driver: workbooks written here (small .xlsx packages)
// and the corpus's .xls and .xlsx files, read as tables.
#include <gtest/gtest.h>
#include <zip.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "api/write_file.h"
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/table_rows.h"
#include "importers/tables/xlsx_sheet_rows.h"
#include "importers/tables/xlsx_styles.h"
#include "importers/tables/xml_pull_scanner.h"
#include "temp_dir.h"

namespace ks::tables {
namespace {

constexpr char kMain[] = "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
constexpr char kRel[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// An .xlsx package of `sheets` (name -> sheetData XML) with the given
// shared strings and workbookPr.
std::string WriteXlsx(const TempDir& dir, const std::vector<std::pair<std::string, std::string>>& sheets,
                      const std::string& shared_strings, const std::string& workbook_pr = "") {
  std::map<std::string, std::string> parts;
  std::string list, rels;
  for (size_t i = 0; i < sheets.size(); ++i) {
    const std::string n = std::to_string(i + 1);
    list += "<sheet name=\"" + sheets[i].first + "\" sheetId=\"" + n + "\" r:id=\"rId" + n + "\"/>";
    rels += "<Relationship Id=\"rId" + n + "\" Type=\"" + kRel + "/worksheet\" Target=\"worksheets/sheet" + n + ".xml\"/>";
    parts["xl/worksheets/sheet" + n + ".xml"] =
        std::string("<worksheet ") + kMain + "><sheetData>" + sheets[i].second + "</sheetData></worksheet>";
  }
  rels += std::string("<Relationship Id=\"rS\" Type=\"") + kRel + "/sharedStrings\" Target=\"sharedStrings.xml\"/>";
  rels += std::string("<Relationship Id=\"rY\" Type=\"") + kRel + "/styles\" Target=\"/xl/styles.xml\"/>";
  parts["xl/workbook.xml"] = std::string("<workbook ") + kMain + " xmlns:r=\"" + kRel + "\">" + workbook_pr +
                             "<sheets>" + list + "</sheets></workbook>";
  parts["xl/_rels/workbook.xml.rels"] =
      "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">" + rels +
      "</Relationships>";
  parts["xl/sharedStrings.xml"] = std::string("\xEF\xBB\xBF<x:sst xmlns:x=\"m\">") + shared_strings + "</x:sst>";
  // Style 1: a date; 2: date and time; 3: a time of day; 4: elapsed hours.
  parts["xl/styles.xml"] = std::string("<styleSheet ") + kMain +
                           "><numFmts><numFmt numFmtId=\"164\" formatCode=\"dd/mm/yyyy\\ &quot;h&quot;\"/>"
                           "<numFmt numFmtId=\"165\" formatCode=\"[h]:mm\"/></numFmts><cellXfs><xf numFmtId=\"0\"/>"
                           "<xf numFmtId=\"164\"/><xf numFmtId=\"22\"/><xf numFmtId=\"21\"/><xf numFmtId=\"165\"/>"
                           "</cellXfs></styleSheet>";
  const std::string path = dir.file("book.xlsx");
  std::filesystem::remove(path);
  zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  for (const auto& [name, text] : parts) {
    zip_source_t* source = zip_source_buffer(zip, text.data(), text.size(), 0);
    zip_file_add(zip, name.c_str(), source, ZIP_FL_OVERWRITE);
  }
  zip_close(zip);  // reads the buffers, which live until here
  return path;
}

std::unique_ptr<TableConnection> Connect(const std::string& path) {
  return MakeExcelDriver()->Connect(ConnectionString("DRIVER={x};DBQ=" + ConnectionString::Quote(path)), {});
}

Rows ReadAll(TableConnection& connection, const std::string& table, std::vector<std::string>* columns = nullptr) {
  auto cursor = connection.OpenTable(table);
  if (columns) *columns = cursor->ColumnNames();
  return RowsOf(*cursor);
}

TableError::Kind KindOfFailure(const std::string& path) {
  return FailureOf([&] {
           auto connection = Connect(path);
           for (const TableEntry& table : connection->Tables()) ReadAll(*connection, table.name);
         }).kind();
}

const std::string kCorpus = KS_SHARED_DIR "/corpus/";

TEST(ExcelDriverXlsx, ValuesOfEveryKindAndEverySheetATable) {
  TempDir dir;
  const std::string strings =
      "<x:si><x:t>Name</x:t></x:si><x:si><x:r><x:t>Ri</x:t></x:r><x:r><x:t>ch</x:t></x:r>"
      "<x:rPh><x:t>guide</x:t></x:rPh></x:si><x:si><x:t>a_x000D_b &amp; c</x:t></x:si>";
  const std::string data =
      "<row r=\"2\"><c r=\"A2\" t=\"s\"><v>0</v></c><c r=\"C2\" t=\"inlineStr\"><is><t>When</t></is></c>"
      "<c t=\"str\"><v>Flag</v></c></row>"  // no reference: the column after C
      "<row r=\"3\"><c r=\"A3\" t=\"s\"><v>1</v></c><c r=\"B3\"><v>3.25</v></c><c r=\"C3\" s=\"1\"><v>44197</v></c>"
      "<c r=\"D3\" t=\"b\"><v>1</v></c></row>"
      "<row r=\"5\"><c r=\"A5\" t=\"s\"><v>2</v></c><c r=\"B5\"><v>1E+20</v></c><c r=\"C5\" s=\"2\"><v>44197.5</v></c>"
      "<c r=\"D5\" t=\"e\"><v>#DIV/0!</v></c></row>"
      "<row r=\"6\"><c r=\"A6\"><v>-0</v></c><c r=\"C6\" s=\"3\"><v>0.75</v></c></row>"
      "<row r=\"7\"><c r=\"B7\" s=\"4\"><v>1.5</v></c><c r=\"C7\" s=\"1\"><v>1</v></c></row>"
      "<row r=\"8\"><c r=\"A8\" s=\"1\"/></row><row r=\"9\"/>";  // trailing empty rows
  const std::string path = WriteXlsx(dir, {{"People", data}, {"Empty", ""}}, strings);
  auto connection = Connect(path);
  const auto tables = connection->Tables();
  ASSERT_EQ(tables.size(), 2u);
  EXPECT_EQ(tables[0].name, "People");
  EXPECT_EQ(tables[1].type, "TABLE");

  std::vector<std::string> columns;
  const Rows rows = ReadAll(*connection, "People", &columns);
  EXPECT_EQ(columns, (std::vector<std::string>{"Name", "F2", "When", "Flag"}));
  const auto n = std::nullopt;
  const Rows expected = {
      {"Rich", "3.25", "2021-01-01", "True"},
      {n, n, n, n},  // row 4 is not in the sheet
      {"a\rb & c", "1e+20", "2021-01-01 12:00:00", "#DIV/0!"},
      {"0", n, "18:00:00", n},
      {n, "36:00:00", "1900-01-01", n},
  };
  EXPECT_EQ(rows, expected);
  EXPECT_EQ(connection->Columns("Empty"), std::vector<std::string>{});
  EXPECT_TRUE(ReadAll(*connection, "Empty").empty());
  EXPECT_THROW(connection->OpenTable("Nope"), TableError);
}

TEST(ExcelDriverXlsx, The1904DateSystem) {
  TempDir dir;
  const std::string data = "<row><c t=\"inlineStr\"><is><t>Day</t></is></c></row><row><c s=\"1\"><v>0</v></c></row>";
  auto connection = Connect(WriteXlsx(dir, {{"S", data}}, "", "<workbookPr date1904=\"1\"/>"));
  EXPECT_EQ(ReadAll(*connection, "S"), (Rows{{"1904-01-01"}}));
}

// The corpus workbooks' values are compared with xlrd's and openpyxl's
// elsewhere; here a package cut short, and what is no workbook.
TEST(ExcelDriverXlsx, TruncatedPackageAndForeignFiles) {
  const std::string merged = kCorpus + "xlsx/merged_range.xlsx";
  if (!std::filesystem::exists(merged)) GTEST_SKIP() << "no corpus";
  TempDir dir;
  const std::string bytes = ReadFile(merged);
  for (const size_t keep : {bytes.size() / 2, bytes.size() - 30}) {
    EXPECT_EQ(KindOfFailure(WriteFile(dir, "cut.xlsx", bytes.substr(0, keep))), TableError::Kind::kDamaged)
        << keep;
  }
  EXPECT_EQ(KindOfFailure(WriteFile(dir, "text.xls", "not a workbook")), TableError::Kind::kDamaged);
  EXPECT_EQ(KindOfFailure(dir.file("absent.xlsx")), TableError::Kind::kNotFound);
}

// A corpus workbook with the bytes a fuzzer changed in it: the first line of
// `patch` names the corpus file, each further line is an offset and the hex
// bytes that stand there instead.  Kept as changes, as the corpus is not
// copied into the project.
std::string PatchedCorpusFile(const std::string& patch, TempDir& dir) {
  std::ifstream lines(patch);
  std::string word, base;
  lines >> word >> base;
  std::string bytes = ReadFile(kCorpus + base);
  uint64_t offset = 0;
  std::string hex;
  while (lines >> offset >> hex) {
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
      bytes.at(offset + i / 2) = static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
  }
  return WriteFile(dir, std::filesystem::path(patch).stem().string() + ".xls", bytes);
}

TEST(ExcelDriverXls, DamagedCorpusFilesAreRefused) {
  // A directory entry whose name passes its field, a stream larger than the
  // file, damaged records (each of these once crashed the old reader).
  EXPECT_EQ(KindOfFailure(KS_SOURCE_DIR "/fuzz/regressions/excel_workbook/directory_name_past_its_field.xls"),
            TableError::Kind::kDamaged);
  if (!std::filesystem::exists(kCorpus + "xls")) GTEST_SKIP() << "no corpus";
  TempDir dir;
  for (const char* patch : {"stream_larger_than_the_file", "damaged_biff_records"}) {
    const std::string file =
        PatchedCorpusFile(std::string(KS_SOURCE_DIR "/tests/importers/tables/xls_patches/") + patch + ".patch", dir);
    EXPECT_EQ(KindOfFailure(file), TableError::Kind::kDamaged) << patch;
  }
}

// A compound file of 512-byte sectors holding `stream` as its "Workbook"
// (padded to the 4096 bytes that keep it out of the mini stream): sector 0
// is the FAT, 1 the directory, the stream's sectors follow.  `loop` makes
// the stream's chain turn back on itself before it holds the size the
// directory gives.
std::string CompoundFileOf(std::string stream, bool loop = false) {
  stream.resize(std::max<size_t>((stream.size() + 511) & ~size_t{511}, 4096), '\0');
  const auto le32 = [](std::string& s, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) s[at + static_cast<size_t>(i)] = static_cast<char>(v >> (8 * i) & 0xFF);
  };
  std::string file(512 * 2, '\0');
  file.replace(0, 8, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
  file[26] = 3, file[28] = '\xFE', file[29] = '\xFF', file[30] = 9, file[32] = 6;
  le32(file, 44, 1);           // one FAT sector
  le32(file, 48, 1);           // the directory's first sector
  le32(file, 56, 4096);        // the mini stream cutoff
  le32(file, 60, 0xFFFFFFFE);  // no mini FAT
  le32(file, 68, 0xFFFFFFFE);  // no DIFAT sectors
  for (int i = 0; i < 109; ++i) le32(file, 76 + 4 * static_cast<size_t>(i), i == 0 ? 0 : 0xFFFFFFFF);
  const auto sectors = static_cast<uint32_t>(stream.size() / 512);
  std::string fat(512, '\xFF');
  le32(fat, 0, 0xFFFFFFFD);
  le32(fat, 4, 0xFFFFFFFE);
  for (uint32_t i = 0; i < sectors; ++i) le32(fat, 4 * (2 + i), i + 1 < sectors ? 3 + i : (loop ? 2 : 0xFFFFFFFE));
  std::string directory(512, '\0');
  const auto entry = [&](size_t at, std::string_view name, char type, uint32_t child, uint32_t start, uint32_t size) {
    for (size_t i = 0; i < name.size(); ++i) directory[at + 2 * i] = name[i];
    directory[at + 64] = static_cast<char>(2 * name.size() + 2);
    directory[at + 66] = type;
    le32(directory, at + 68, 0xFFFFFFFF);
    le32(directory, at + 72, 0xFFFFFFFF);
    le32(directory, at + 76, child);
    le32(directory, at + 116, start);
    le32(directory, at + 120, size);
  };
  entry(0, "Root Entry", 5, 1, 0xFFFFFFFE, 0);
  entry(128, "Workbook", 2, 0xFFFFFFFF, 2, static_cast<uint32_t>(stream.size() + (loop ? 512 : 0)));
  file.replace(512, 512, fat);
  return file + directory + stream;
}

// A BIFF record of `type` with the given bytes.
std::string Record(uint16_t type, std::string_view data) {
  std::string r = {static_cast<char>(type & 0xFF), static_cast<char>(type >> 8), static_cast<char>(data.size() & 0xFF),
                   static_cast<char>(data.size() >> 8)};
  return r.append(data);
}

TEST(ExcelDriverXls, HandMadeWorkbooks) {
  // Globals: BOF, a chart sheet and a worksheet, a shared string table
  // whose second string is split across a CONTINUE record that switches it
  // from one-byte to two-byte characters ("Na" | "\xC3\xA9" in UTF-16).
  const std::string bof = Record(0x0809, Bytes({0, 6, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  std::string globals = bof + Record(0x0085, Bytes({0, 0, 0, 0, 0, 2, 1, 0, 'C'})) +
                        Record(0x0085, Bytes({0, 0, 0, 0, 0, 0, 2, 0, 'W', 's'})) +
                        Record(0x00FC, Bytes({2, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 'T', 'o', 'p', 3, 0, 0, 'N', 'a'})) +
                        Record(0x003C, Bytes({1, 0xE9, 0})) + Record(0x000A, "");
  const size_t sheet = globals.size();
  const size_t at = globals.find(Bytes({0, 0, 2, 0, 'W', 's'})) - 4;  // the worksheet's offset field
  for (int i = 0; i < 4; ++i) globals[at + static_cast<size_t>(i)] = static_cast<char>(sheet >> (8 * i) & 0xFF);
  const std::string cells =
      Record(0x0809, Bytes({0, 6, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})) +
      Record(0x00FD, Bytes({0, 0, 0, 0, 0, 0, 0, 0, 0, 0})) +                              // A1: "Top"
      Record(0x00FD, Bytes({0, 0, 1, 0, 0, 0, 1, 0, 0, 0})) +                              // B1: "Naé"
      Record(0x027E, Bytes({1, 0, 0, 0, 0, 0, 0x4B, 0, 0, 0})) +                           // A2: RK 18 / 100
      Record(0x0205, Bytes({1, 0, 1, 0, 0, 0, 0x07, 1})) +                                 // B2: #DIV/0!
      Record(0x0809, Bytes({0, 6, 32, 0, 0, 0, 0, 0})) + Record(0x0203, std::string(14, '\x01')) +
      Record(0x000A, "") +                                                                 // an embedded chart
      Record(0x0006, Bytes({2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0})) +
      Record(0x0207, Bytes({2, 0, 0, 'o', 'k'})) +                                         // A3: ="ok"
      Record(0x0205, Bytes({2, 0, 1, 0, 0, 0, 1, 0})) + Record(0x000A, "");                // B3: TRUE
  TempDir dir;
  auto connection = Connect(WriteFile(dir, "hand.xls", CompoundFileOf(globals + cells)));
  ASSERT_EQ(connection->Tables().size(), 1u);
  std::vector<std::string> columns;
  EXPECT_EQ(ReadAll(*connection, "Ws", &columns), (Rows{{"0.18", "#DIV/0!"}, {"ok", "True"}}));
  EXPECT_EQ(columns, (std::vector<std::string>{"Top", "Na\xC3\xA9"}));

  // The same stream with a chain that loops, or after a FILEPASS record.
  EXPECT_EQ(KindOfFailure(WriteFile(dir, "loop.xls", CompoundFileOf(globals + cells, true))),
            TableError::Kind::kDamaged);
  const std::string pass = CompoundFileOf(bof + Record(0x002F, Bytes({0, 0})) + globals);
  EXPECT_EQ(KindOfFailure(WriteFile(dir, "pass.xls", pass)), TableError::Kind::kPasswordProtected);
}

// Hands out its bytes one at a time: every token cut at every place.
class ByteByByte : public ByteSource {
 public:
  explicit ByteByByte(std::string_view bytes) : rest_(bytes) {}
  size_t Read(char* into, size_t size) override {
    if (rest_.empty() || size == 0) return 0;
    *into = rest_.front();
    rest_.remove_prefix(1);
    return 1;
  }

 private:
  std::string_view rest_;
};

TEST(XmlPullScanner, TokensWhateverTheChunks) {
  const std::string xml =
      "\xEF\xBB\xBF<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY e \"boom\">]><x:a x:k='1>2' k=\"&lt;&#x41;&#66;&e;\">"
      "t&amp;u<!-- c --><![CDATA[<v>]]>\r\nw<b/></x:a>";
  for (const bool whole : {true, false}) {
    MemoryByteSource all(xml);
    ByteByByte pieces(xml);
    XmlPullScanner scanner(whole ? static_cast<ByteSource&>(all) : pieces);
    using Token = XmlPullScanner::Token;
    ASSERT_EQ(scanner.Next(), Token::kStart);
    EXPECT_EQ(scanner.Name(), "a");
    EXPECT_EQ(scanner.Attribute("k"), "1>2");  // the first "k", whatever its prefix
    ASSERT_EQ(scanner.Next(), Token::kText);
    EXPECT_EQ(scanner.Text(), "t&u<v>\nw");
    ASSERT_EQ(scanner.Next(), Token::kStart);
    EXPECT_TRUE(scanner.SelfClosing());
    ASSERT_EQ(scanner.Next(), Token::kEnd);
    EXPECT_EQ(scanner.Name(), "a");
    EXPECT_EQ(scanner.Next(), Token::kEndOfInput);
  }
  std::string decoded = "a_x000D_b_x005F_x000A_c_xD83D__xDE00_";
  DecodeSpreadsheetEscapes(decoded);
  EXPECT_EQ(decoded, "a\rb_x000A_c\xF0\x9F\x98\x80");
}

// Styles 22 and [h]:mm are the workbook test's.
TEST(XlsxNumberFormats, DatesTimesAndNumbers) {
  EXPECT_EQ(KindOfBuiltInFormat(14), NumberKind::kDate);
  EXPECT_EQ(KindOfBuiltInFormat(46), NumberKind::kTime);
  EXPECT_EQ(KindOfBuiltInFormat(2), NumberKind::kNumber);
  EXPECT_EQ(KindOfFormatCode("yyyy\\-mm\\-dd"), NumberKind::kDate);
  EXPECT_EQ(KindOfFormatCode("mmm"), NumberKind::kDate);
  EXPECT_EQ(KindOfFormatCode("h:mm AM/PM"), NumberKind::kTime);
  EXPECT_EQ(KindOfFormatCode("d/m/yy h:mm"), NumberKind::kDateTime);
  EXPECT_EQ(KindOfFormatCode("#,##0.00 \"days\";[Red]-0"), NumberKind::kNumber);
  EXPECT_EQ(KindOfFormatCode("General"), NumberKind::kNumber);
  EXPECT_EQ(KindOfFormatCode("[$-409]0.0_);\\(0\\)"), NumberKind::kNumber);
}

TEST(XlsxSheetRows, DamagedSheetsAreRefused) {
  const SharedStrings strings;
  const CellStyles styles;
  for (const char* xml : {"<sheetData><row r=\"9999999\"><c><v>1</v></c></row></sheetData>",
                          "<sheetData><row><c><v>1</v>", "<sheetData><row><c r=\"A1\" t=\"s\"><v>1</v></c></row",
                          "<sheetData><row><c a=\"1></c></row></sheetData>"}) {
    MemoryByteSource source(xml);
    XlsxSheetRows rows(source, 0, strings, styles, DateSystem::k1900);
    RowBuffer row;
    uint32_t index = 0;
    EXPECT_THROW(while (rows.NextRow(row, index)){}, TableError) << xml;
  }
}

}  // namespace
}  // namespace ks::tables
