// Import settings files: building the column header string from one, the
// misspelt key kept byte for byte, the read defaults, values that only
// survive a profile file in quotes, and writing then reading back.
#include "importers/text/ksi_file_handler.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "importers/text/field_header.h"
#include "temp_dir.h"

namespace {

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// ---- Reading ----

TEST(KsiFileRead, DelimitedSettingsBecomeADelimitedColumnHeader) {
  TempDir dir;
  const std::string path = dir.file("orders.ksi");
  WriteText(path,
            "[Type Section]\r\ntype=CSV\r\nNumberOfFields=2\r\n\r\n"
            "[Delimiter Section]\r\ndelimiter length=1\r\ndelimiter=;\r\n"
            "text qualifier=\"\r\nconsecutice delimiter=FALSE\r\n\r\n"
            "[Header Section]\r\nheader1=Name\r\nheader2=Home Phone\r\n");
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path),
            "T=CSV\r\nN=2\r\nD=;\r\nTQ=\"\r\nTC=0\r\nNA1=Name\r\nP1=1\r\nNA2=Home Phone\r\nP2=2");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kDelimitedKind);
}

TEST(KsiFileRead, FixedWidthSettingsBecomeAFixedWidthColumnHeader) {
  TempDir dir;
  const std::string path = dir.file("people.ksi");
  WriteText(path,
            "[Type Section]\ntype=FXD\nNumberOfFields=3\n[Header Section]\nheader1=Name\n"
            "header3=Phone\n[Fixed Field Section]\nfield1=20\nfield2=10\n");
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path),
            "T=FXD\r\nN=3\r\nNA1=Name\r\nL1=20\r\nNA2=\r\nL2=10\r\nNA3=Phone\r\nL3=0");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kFixedWidthKind);
}

TEST(KsiFileRead, OnlyTheMisspeltConsecutiveKeyIsRead) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  WriteText(path, "[Type Section]\ntype=CSV\n[Delimiter Section]\nconsecutive delimiter=FALSE\n");
  EXPECT_NE(handler.ReadColumnHeader(path).find("TC=1"), std::string::npos)
      << "the correct spelling is not the key; a missing key means true";
  WriteText(path, "[Type Section]\ntype=CSV\n[Delimiter Section]\nconsecutice delimiter=FALSE\n");
  EXPECT_NE(handler.ReadColumnHeader(path).find("TC=0"), std::string::npos);
  WriteText(path, "[Type Section]\ntype=CSV\n[Delimiter Section]\nconsecutice delimiter=True\n");
  EXPECT_NE(handler.ReadColumnHeader(path).find("TC=1"), std::string::npos);
  WriteText(path, "[Type Section]\ntype=CSV\n[Delimiter Section]\nconsecutice delimiter=yes\n");
  EXPECT_NE(handler.ReadColumnHeader(path).find("TC=0"), std::string::npos)
      << "anything but true is false";
}

TEST(KsiFileRead, DelimitedDefaultsForMissingKeys) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path, "[Type Section]\ntype=csv\nNumberOfFields=1\n");
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=CSV\r\nN=1\r\nD=,\r\nTQ=\r\nTC=1\r\nNA1=\r\nP1=1");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kDelimitedKind);
}

TEST(KsiFileRead, AMissingFileGivesAFixedWidthStringOfNoColumnsThatFails) {
  TempDir dir;
  CKSIFileHandler handler;
  const std::string column_header = handler.ReadColumnHeader(dir.file("absent.ksi"));
  EXPECT_EQ(column_header, "T=FXD\r\nN=0");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kFixedWidthKind);
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(column_header));
  EXPECT_EQ(header.ErrorCode(), 13003u);
}

TEST(KsiFileRead, AFolderInsteadOfAFileReadsAsMissing) {
  TempDir dir;
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(dir.path().string()), "T=FXD\r\nN=0");
}

TEST(KsiFileRead, AnyTypeButCsvIsFixedWidth) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  WriteText(path, "[Type Section]\ntype=TXT\nNumberOfFields=1\n");
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=FXD\r\nN=1\r\nNA1=\r\nL1=0");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kFixedWidthKind);
}

TEST(KsiFileRead, SectionsAndKeysMatchWithoutRegardToCaseAndJunkIsSkipped) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path,
            "garbage before any section\n[TYPE SECTION]\nTYPE=Csv\nnumberoffields=1\n"
            "this line is junk\n[delimiter section]\nDELIMITER=|\n[header section]\nHEADER1=x\n");
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=CSV\r\nN=1\r\nD=|\r\nTQ=\r\nTC=1\r\nNA1=x\r\nP1=1");
}

TEST(KsiFileRead, ValuesLoseBlanksAroundAndOnePairOfEnclosingQuotes) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path,
            "[Type Section]\ntype = CSV \nNumberOfFields=3\n[Delimiter Section]\n"
            "delimiter=\"\t\"\ntext qualifier=\"\n[Header Section]\nheader1=\"Name\"\n"
            "header2='It''s'\nheader3=\"\"Quoted\"\"\n");
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path),
            "T=CSV\r\nN=3\r\nD=\t\r\nTQ=\"\r\nTC=1\r\nNA1=Name\r\nP1=1\r\nNA2=It''s\r\nP2=2\r\n"
            "NA3=\"Quoted\"\r\nP3=3");
}

TEST(KsiFileRead, NegativeOrNonNumericCountIsZero) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  WriteText(path, "[Type Section]\ntype=CSV\nNumberOfFields=-4\n");
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=CSV\r\nN=0\r\nD=,\r\nTQ=\r\nTC=1");
  WriteText(path, "[Type Section]\ntype=CSV\nNumberOfFields=two\n");
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=CSV\r\nN=0\r\nD=,\r\nTQ=\r\nTC=1");
}

TEST(KsiFileRead, ACountBeyondTheColumnLimitGetsNoColumnLinesAndFailsToParse) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path, "[Type Section]\ntype=CSV\nNumberOfFields=2000000000\n");
  CKSIFileHandler handler;
  const std::string column_header = handler.ReadColumnHeader(path);
  EXPECT_EQ(column_header, "T=CSV\r\nN=2000000000\r\nD=,\r\nTQ=\r\nTC=1");
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(column_header));
  EXPECT_EQ(header.ErrorCode(), 13012u);
}

TEST(KsiFileRead, DelimiterListIsCutAt255Characters) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path, "[Type Section]\ntype=CSV\n[Delimiter Section]\ndelimiter=" +
                      std::string(300, ';') + "\n");
  CKSIFileHandler handler;
  EXPECT_NE(handler.ReadColumnHeader(path).find("D=" + std::string(255, ';') + "\r\n"),
            std::string::npos);
}

TEST(KsiFileRead, AFileTooLargeToBeSettingsReadsAsUnreadable) {
  TempDir dir;
  const std::string path = dir.file("big.ksi");
  std::string text = "[Type Section]\ntype=CSV\nNumberOfFields=1\n";
  text.resize(17u << 20, ' ');
  WriteText(path, text);
  CKSIFileHandler handler;
  EXPECT_EQ(handler.ReadColumnHeader(path), "T=FXD\r\nN=0");
}

// ---- Writing ----

TEST(KsiFileWrite, DelimiterSettingsUseTheMisspeltKeyByteForByte) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteDelimiterSettings(path, ",;", "\"", false));
  const std::string text = ReadText(path);
  EXPECT_NE(text.find("\r\nconsecutice delimiter=FALSE\r\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("consecutive"), std::string::npos);
  EXPECT_EQ(text,
            "[Delimiter Section]\r\ndelimiter length=2\r\ndelimiter=,;\r\ntext qualifier=\"\r\n"
            "consecutice delimiter=FALSE\r\n");
}

TEST(KsiFileWrite, DelimitedRoundTripGivesTheColumnHeaderBack) {
  TempDir dir;
  const std::string path = dir.file("round.ksi");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteTypeAndCount(path, CKSIFileHandler::Layout::kDelimited, 3));
  ASSERT_TRUE(handler.WriteDelimiterSettings(path, "\t", "'", true));
  ASSERT_TRUE(handler.WriteColumnNames(
      path, {"Name", std::string(CKSIFileHandler::kSkippedColumnName), " Home Phone"}));
  const std::string column_header = handler.ReadColumnHeader(path);
  EXPECT_EQ(column_header,
            "T=CSV\r\nN=3\r\nD=\t\r\nTQ='\r\nTC=1\r\nNA1=Name\r\nP1=1\r\nNA2=Skip\r\nP2=2\r\n"
            "NA3= Home Phone\r\nP3=3");
  EXPECT_EQ(handler.Kind(), CKSIFileHandler::kDelimitedKind);
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(column_header));
  EXPECT_EQ(header.Delimiters(), "\t");
}

TEST(KsiFileWrite, FixedWidthRoundTripGivesTheColumnHeaderBack) {
  TempDir dir;
  const std::string path = dir.file("round.ksi");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteTypeAndCount(path, CKSIFileHandler::Layout::kFixedWidth, 2));
  ASSERT_TRUE(handler.WriteColumnNames(path, {"Name", "State"}));
  ASSERT_TRUE(handler.WriteColumnWidths(path, {20, 2}));
  EXPECT_EQ(handler.ReadColumnHeader(path),
            "T=FXD\r\nN=2\r\nNA1=Name\r\nL1=20\r\nNA2=State\r\nL2=2");
  EXPECT_EQ(ReadText(path),
            "[Type Section]\r\ntype=FXD\r\nNumberOfFields=2\r\n\r\n[Header Section]\r\n"
            "header1=Name\r\nheader2=State\r\n\r\n[Fixed Field Section]\r\nfield1=20\r\n"
            "field2=2\r\n");
}

TEST(KsiFileWrite, ValuesThatReadingWouldChangeAreQuoted) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteColumnNames(path, {" lead", "\"both\"", "'x'", "\"", "in\"side"}));
  EXPECT_EQ(ReadText(path),
            "[Header Section]\r\nheader1=\" lead\"\r\nheader2=\"\"both\"\"\r\nheader3=\"'x'\"\r\n"
            "header4=\"\r\nheader5=in\"side\r\n");
}

TEST(KsiFileWrite, ALineBreakInANameIsSavedAsABlank) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteTypeAndCount(path, CKSIFileHandler::Layout::kDelimited, 2));
  ASSERT_TRUE(handler.WriteColumnNames(path, {"two\r\nlines", "b"}));
  EXPECT_NE(handler.ReadColumnHeader(path).find("\r\nNA1=two  lines\r\nP1=1\r\nNA2=b\r\n"),
            std::string::npos);
}

TEST(KsiFileWrite, WritesKeepEveryOtherKeyOfTheFile) {
  TempDir dir;
  const std::string path = dir.file("a.ksi");
  WriteText(path, "[Wizard]\r\nlast file=orders.csv\r\n[Type Section]\r\ntype=FXD\r\n");
  CKSIFileHandler handler;
  ASSERT_TRUE(handler.WriteTypeAndCount(path, CKSIFileHandler::Layout::kDelimited, 1));
  EXPECT_EQ(ReadText(path),
            "[Wizard]\r\nlast file=orders.csv\r\n\r\n[Type Section]\r\ntype=CSV\r\n"
            "NumberOfFields=1\r\n");
}

TEST(KsiFileWrite, AnUnwritablePathFails) {
  TempDir dir;
  CKSIFileHandler handler;
  EXPECT_FALSE(handler.WriteTypeAndCount(dir.file("no/such/folder/a.ksi"),
                                         CKSIFileHandler::Layout::kDelimited, 1));
  EXPECT_FALSE(handler.WriteColumnWidths(dir.path().string(), {1}));
}

}  // namespace
