// Import settings files: building the column header string from one, the
// misspelt key kept byte for byte, the read defaults, values that only
// survive a profile file in quotes, and writing then reading back.
#include "importers/text/ksi_file_handler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/write_file.h"
#include "importers/text/field_header.h"

namespace {

class KsiFile : public testing::Test {
 protected:
  void Write(const std::string& text) const { WriteFile(path_, text); }
  std::string Text() const { return ReadFile(path_); }

  TempDir dir_;
  const std::string path_ = dir_.file("a.ksi");
  CKSIFileHandler handler_;
};

// ---- Reading ----

TEST_F(KsiFile, SettingsBecomeAColumnHeaderString) {
  const auto kDelimited = CKSIFileHandler::kDelimitedKind;
  const auto kFixedWidth = CKSIFileHandler::kFixedWidthKind;
  const struct {
    const char* name;
    std::string file;
    std::string column_header;
    int32_t kind;
  } cases[] = {
      {"delimited",
       "[Type Section]\r\ntype=CSV\r\nNumberOfFields=2\r\n\r\n"
       "[Delimiter Section]\r\ndelimiter length=1\r\ndelimiter=;\r\n"
       "text qualifier=\"\r\nconsecutice delimiter=FALSE\r\n\r\n"
       "[Header Section]\r\nheader1=Name\r\nheader2=Home Phone\r\n",
       "T=CSV\r\nN=2\r\nD=;\r\nTQ=\"\r\nTC=0\r\nNA1=Name\r\nP1=1\r\nNA2=Home Phone\r\nP2=2",
       kDelimited},
      {"fixed width",
       "[Type Section]\ntype=FXD\nNumberOfFields=3\n[Header Section]\nheader1=Name\n"
       "header3=Phone\n[Fixed Field Section]\nfield1=20\nfield2=10\n",
       "T=FXD\r\nN=3\r\nNA1=Name\r\nL1=20\r\nNA2=\r\nL2=10\r\nNA3=Phone\r\nL3=0", kFixedWidth},
      {"delimited defaults for missing keys", "[Type Section]\ntype=csv\nNumberOfFields=1\n",
       "T=CSV\r\nN=1\r\nD=,\r\nTQ=\r\nTC=1\r\nNA1=\r\nP1=1", kDelimited},
      {"any type but CSV is fixed width", "[Type Section]\ntype=TXT\nNumberOfFields=1\n",
       "T=FXD\r\nN=1\r\nNA1=\r\nL1=0", kFixedWidth},
      {"sections and keys in any case, junk skipped",
       "garbage before any section\n[TYPE SECTION]\nTYPE=Csv\nnumberoffields=1\n"
       "this line is junk\n[delimiter section]\nDELIMITER=|\n[header section]\nHEADER1=x\n",
       "T=CSV\r\nN=1\r\nD=|\r\nTQ=\r\nTC=1\r\nNA1=x\r\nP1=1", kDelimited},
      {"values lose blanks around and one pair of enclosing quotes",
       "[Type Section]\ntype = CSV \nNumberOfFields=3\n[Delimiter Section]\n"
       "delimiter=\"\t\"\ntext qualifier=\"\n[Header Section]\nheader1=\"Name\"\n"
       "header2='It''s'\nheader3=\"\"Quoted\"\"\n",
       "T=CSV\r\nN=3\r\nD=\t\r\nTQ=\"\r\nTC=1\r\nNA1=Name\r\nP1=1\r\nNA2=It''s\r\nP2=2\r\n"
       "NA3=\"Quoted\"\r\nP3=3",
       kDelimited},
      {"a negative count is zero", "[Type Section]\ntype=CSV\nNumberOfFields=-4\n",
       "T=CSV\r\nN=0\r\nD=,\r\nTQ=\r\nTC=1", kDelimited},
      {"a non-numeric count is zero", "[Type Section]\ntype=CSV\nNumberOfFields=two\n",
       "T=CSV\r\nN=0\r\nD=,\r\nTQ=\r\nTC=1", kDelimited},
      {"the delimiter list is cut at 255 characters",
       "[Type Section]\ntype=CSV\n[Delimiter Section]\ndelimiter=" + std::string(300, ';') + "\n",
       "T=CSV\r\nN=0\r\nD=" + std::string(255, ';') + "\r\nTQ=\r\nTC=1", kDelimited},
      // Last: the parse below refuses it as an invalid string.
      {"a count beyond the column limit gets no column lines",
       "[Type Section]\ntype=CSV\nNumberOfFields=2000000000\n",
       "T=CSV\r\nN=2000000000\r\nD=,\r\nTQ=\r\nTC=1", kDelimited},
  };
  for (const auto& c : cases) {
    Write(c.file);
    EXPECT_EQ(handler_.ReadColumnHeader(path_), c.column_header) << c.name;
    EXPECT_EQ(handler_.Kind(), c.kind) << c.name;
  }
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(handler_.ReadColumnHeader(path_)));
  EXPECT_EQ(header.ErrorCode(), 13012u) << "the count beyond the limit";
}

TEST_F(KsiFile, OnlyTheMisspeltConsecutiveKeyIsRead) {
  // The correct spelling is not the key; a missing key means true, and
  // anything but true is false.
  const std::pair<const char*, const char*> cases[] = {{"consecutive delimiter=FALSE", "TC=1"},
                                                       {"consecutice delimiter=FALSE", "TC=0"},
                                                       {"consecutice delimiter=True", "TC=1"},
                                                       {"consecutice delimiter=yes", "TC=0"}};
  for (const auto& [line, switch_line] : cases) {
    Write(std::string("[Type Section]\ntype=CSV\n[Delimiter Section]\n") + line + "\n");
    EXPECT_NE(handler_.ReadColumnHeader(path_).find(switch_line), std::string::npos) << line;
  }
}

TEST_F(KsiFile, UnreadableFilesGiveAFixedWidthStringOfNoColumnsThatFails) {
  std::string too_large = "[Type Section]\ntype=CSV\nNumberOfFields=1\n";
  too_large.resize(17u << 20, ' ');
  Write(too_large);
  for (const std::string& path : {dir_.file("absent.ksi"), dir_.path().string(), path_}) {
    const std::string column_header = handler_.ReadColumnHeader(path);
    EXPECT_EQ(column_header, "T=FXD\r\nN=0") << path;
    EXPECT_EQ(handler_.Kind(), CKSIFileHandler::kFixedWidthKind);
    CKSFieldHeader header;
    EXPECT_FALSE(header.Parse(column_header));
    EXPECT_EQ(header.ErrorCode(), 13003u);
  }
}

// ---- Writing ----

// The misspelt key is written byte for byte, a delimiter list starting with
// a tab is quoted to survive reading, and a line break in a name is saved as
// a blank.
TEST_F(KsiFile, DelimitedRoundTripGivesTheColumnHeaderBack) {
  ASSERT_TRUE(handler_.WriteTypeAndCount(path_, CKSIFileHandler::Layout::kDelimited, 3));
  ASSERT_TRUE(handler_.WriteDelimiterSettings(path_, "\t;", "\"", false));
  ASSERT_TRUE(handler_.WriteColumnNames(
      path_, {"two\r\nlines", std::string(CKSIFileHandler::kSkippedColumnName), " Home Phone"}));
  EXPECT_NE(Text().find("[Delimiter Section]\r\ndelimiter length=2\r\ndelimiter=\"\t;\"\r\n"
                        "text qualifier=\"\r\nconsecutice delimiter=FALSE\r\n"),
            std::string::npos)
      << Text();
  EXPECT_EQ(handler_.ReadColumnHeader(path_),
            "T=CSV\r\nN=3\r\nD=\t;\r\nTQ=\"\r\nTC=0\r\nNA1=two  lines\r\nP1=1\r\nNA2=Skip\r\n"
            "P2=2\r\nNA3= Home Phone\r\nP3=3");
  EXPECT_EQ(handler_.Kind(), CKSIFileHandler::kDelimitedKind);
}

TEST_F(KsiFile, FixedWidthRoundTripGivesTheColumnHeaderBack) {
  ASSERT_TRUE(handler_.WriteTypeAndCount(path_, CKSIFileHandler::Layout::kFixedWidth, 2));
  ASSERT_TRUE(handler_.WriteColumnNames(path_, {"Name", "State"}));
  ASSERT_TRUE(handler_.WriteColumnWidths(path_, {20, 2}));
  EXPECT_EQ(handler_.ReadColumnHeader(path_),
            "T=FXD\r\nN=2\r\nNA1=Name\r\nL1=20\r\nNA2=State\r\nL2=2");
  EXPECT_EQ(Text(),
            "[Type Section]\r\ntype=FXD\r\nNumberOfFields=2\r\n\r\n[Header Section]\r\n"
            "header1=Name\r\nheader2=State\r\n\r\n[Fixed Field Section]\r\nfield1=20\r\n"
            "field2=2\r\n");
}

TEST_F(KsiFile, ValuesThatReadingWouldChangeAreQuoted) {
  ASSERT_TRUE(handler_.WriteColumnNames(path_, {" lead", "\"both\"", "'x'", "\"", "in\"side"}));
  EXPECT_EQ(Text(),
            "[Header Section]\r\nheader1=\" lead\"\r\nheader2=\"\"both\"\"\r\nheader3=\"'x'\"\r\n"
            "header4=\"\r\nheader5=in\"side\r\n");
}

TEST_F(KsiFile, WritesKeepEveryOtherKeyOfTheFile) {
  Write("[Wizard]\r\nlast file=orders.csv\r\n[Type Section]\r\ntype=FXD\r\n");
  ASSERT_TRUE(handler_.WriteTypeAndCount(path_, CKSIFileHandler::Layout::kDelimited, 1));
  EXPECT_EQ(Text(),
            "[Wizard]\r\nlast file=orders.csv\r\n\r\n[Type Section]\r\ntype=CSV\r\n"
            "NumberOfFields=1\r\n");
}

TEST_F(KsiFile, AnUnwritablePathFails) {
  EXPECT_FALSE(handler_.WriteTypeAndCount(dir_.file("no/such/folder/a.ksi"),
                                          CKSIFileHandler::Layout::kDelimited, 1));
  EXPECT_FALSE(handler_.WriteColumnWidths(dir_.path().string(), {1}));
}

}  // namespace
