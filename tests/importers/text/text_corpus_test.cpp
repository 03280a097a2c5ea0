// Real delimited and fixed-width files written by other software.  Every
// file must read without a fault; on the well-formed ones the values are
// those that Python's csv module gives (checked by hand and written down
// here), and where our rules differ the expectation says which rule.
// Skipped when the shared corpus is not beside the checkout.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "importers/text/byte_source.h"
#include "importers/text/delimited_fields.h"
#include "importers/text/record_reader.h"

namespace {

namespace fs = std::filesystem;
using Row = std::vector<std::string>;
using Rows = std::vector<Row>;
using ks::text::RecordReader;

fs::path CorpusDir(const char* kind) {
  return fs::path(KS_SHARED_DIR) / "corpus" / kind;
}

struct FileRows {
  Rows rows;
  RecordReader::Outcome end = RecordReader::Outcome::kRecord;
};

// Reads `path` as the imports would: records with the qualifier of the
// settings, each split into values; or, for fixed width, lines without a
// qualifier, each cut at the widths.
FileRows Read(const fs::path& path, const std::string& column_header, bool fixed_width) {
  CDelimitedFields fields;
  fixed_width ? fields.LoadFixedSettings(column_header) : fields.LoadSettings(column_header);
  FileRows result;
  SourceFile file;
  if (!file.Open(path.string())) {
    ADD_FAILURE() << file.ErrorText();
    return result;
  }
  ks::text::SourceFileBytes source(file);
  RecordReader reader(source);
  std::string record;
  while ((result.end = reader.Read(fixed_width ? '\0' : fields.Qualifier(), &record)) ==
         RecordReader::Outcome::kRecord) {
    fixed_width ? fields.CutFixedWidth(record) : fields.Split(record);
    result.rows.push_back(fields.Values());
  }
  return result;
}

FileRows ReadFixed(const fs::path& path, const std::string& column_header) {
  return Read(path, column_header, true);
}

const std::string kCommaSettings = "T=CSV\r\nN=3\r\nP1=1\r\nD=,\r\nTQ=\"\r\nTC=0";
const std::string kTabSettings = "T=CSV\r\nN=3\r\nP1=1\r\nD=\t\r\nTQ=\"\r\nTC=0";

class TextCorpus : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::is_directory(CorpusDir("csv")) || !fs::is_directory(CorpusDir("fixed"))) {
      GTEST_SKIP() << "no shared corpus beside the checkout";
    }
  }
  static FileRows Csv(const char* name, const std::string& settings = kCommaSettings) {
    return Read(CorpusDir("csv") / name, settings, false);
  }
};

TEST_F(TextCorpus, EveryFileReadsWithoutAFaultWhateverTheSettings) {
  const std::string settings[] = {kCommaSettings, kTabSettings,
                                  "T=CSV\r\nN=1\r\nP1=1\r\nD=,;\t\r\nTQ='\r\nTC=1",
                                  "not a column header string"};
  for (const char* kind : {"csv", "fixed"}) {
    for (const auto& entry : fs::directory_iterator(CorpusDir(kind))) {
      for (const std::string& setting : settings) {
        const FileRows delimited = Read(entry.path(), setting, false);
        EXPECT_NE(delimited.end, RecordReader::Outcome::kReadFailed) << entry.path();
      }
      const FileRows fixed = ReadFixed(entry.path(), "T=FXD\r\nN=2\r\nL1=3\r\nL2=5");
      EXPECT_NE(fixed.end, RecordReader::Outcome::kReadFailed) << entry.path();
    }
  }
}

// Files on which our rules and Python's csv module agree value for value.
TEST_F(TextCorpus, WellFormedFilesGiveTheValuesPythonsCsvModuleGives) {
  struct Expectation {
    const char* file;
    Rows rows;
  };
  const Expectation expectations[] = {
      {"bad-ragged.csv",
       {{"column_a", "column_b", "column_c"},
        {"1", "27", "", "I'm too long!"},
        {"", "I'm too short!"},
        {"0", "mixed types.... uh oh", "17"}}},
      {"blanks.csv", {{"a", "b", "c", "d", "e", "f"}, {"", "NA", "N/A", "NONE", "NULL", "."}}},
      {"comma_in_quotes.csv",
       {{"first", "last", "address", "city", "zip"},
        {"John", "Doe", "120 any st.", "Anytown, WW", "08123"}}},
      {"empty.csv", {{"a", "b", "c"}, {"1", "", ""}, {"2", "3", "4"}}},
      {"escaped_quotes.csv", {{"a", "b"}, {"1", "ha \"ha\" ha"}, {"3", "4"}}},
      {"header-with-controls.csv",
       {{"\t\n\v\f\r start \t\n\v\f\r end \t\n\v\f\r", "b", "c"}, {"d", "e", "f"}}},
      {"latin1.csv", {{"a", "b", "c"}, {"1", "2", "3"}, {"4", "5", "\xA9"}}},
      {"mac-newlines.csv", {{"a", "b", "c"}, {"1", "2", "3"}, {"Once upon\ra time", "5", "6"}}},
      {"newlines_crlf.csv",
       {{"a", "b", "c"}, {"1", "2", "3"}, {"Once upon \na time", "5", "6"}, {"7", "8", "9"}}},
      {"quotes_and_newlines.csv", {{"a", "b"}, {"1", "ha \n\"ha\" \nha"}, {"3", "4"}}},
      // The byte-order marks say what the text is: it arrives as UTF-8,
      // without the mark, as Python gives it when told the encoding.
      {"utf8-bom.csv", {{"foo", "bar", "baz"}, {"1", "2", "3"}, {"4", "5", "\xCA\xA4"}}},
      {"utf16le.csv", {{"a", "b", "c"}, {"1", "2", "3"}, {"4", "5", "\xCA\xA4"}}},
  };
  for (const Expectation& expected : expectations) {
    const FileRows got = Csv(expected.file);
    EXPECT_EQ(got.rows, expected.rows) << expected.file;
    EXPECT_EQ(got.end, RecordReader::Outcome::kEndOfInput) << expected.file;
  }
}

TEST_F(TextCorpus, TabSeparatedFileWithQuotedLineEndsMatchesPython) {
  const FileRows got = Csv("jackcess-sample-input.tab", kTabSettings);
  EXPECT_EQ(got.rows, (Rows{{"Test1", "Test2", "Test3"},
                            {"Foo", "Bar", "Ralph"},
                            {"S", "Mouse", "Rocks"},
                            {"", "Partial line"},
                            {" Quoted Value", " bazz ", " Really \"Crazy\nvalue\""},
                            {"buzz", "embedded\tseparator", "long", "line"}}));
}

TEST_F(TextCorpus, TwoThousandRowFileMatchesPython) {
  const FileRows got = Csv("challenge.csv");
  ASSERT_EQ(got.rows.size(), 2001u);
  for (const Row& row : got.rows) ASSERT_EQ(row.size(), 2u);
  EXPECT_EQ(got.rows[0], (Row{"x", "y"}));
  EXPECT_EQ(got.rows[1], (Row{"404", "NA"}));
  EXPECT_EQ(got.rows[2000], (Row{"0.608237189007923", "2019-01-06"}));
}

// Where the rules differ from Python's.

TEST_F(TextCorpus, NulByteEndsTheRecordAndTheLineEndAfterItEndsTheFile) {
  // Python: [1, 2, "\0"] and then [3, 4, 5].  Here the NUL ends the record,
  // leaving a trailing delimiter and so an empty third value, and the line
  // end after it reads as a blank line, which ends the file.
  const FileRows got = Csv("null-byte.csv");
  EXPECT_EQ(got.rows, (Rows{{"a", "b", "c"}, {"1", "2", ""}}));
  EXPECT_EQ(got.end, RecordReader::Outcome::kEmptyRecord);
}

// ---- Fixed width ----

TEST_F(TextCorpus, FixedWidthColumnsWithGapsNeedFillerColumns) {
  // The schema beside the file gives starts with one-character gaps; since
  // each column starts where the one before it ends, the gaps are columns.
  const FileRows got = ReadFixed(CorpusDir("fixed") / "csvkit-testfixed.txt",
                                 "T=FXD\r\nN=10\r\nL1=18\r\nL2=10\r\nL3=1\r\nL4=4\r\nL5=5\r\n"
                                 "L6=11\r\nL7=1\r\nL8=8\r\nL9=19\r\nL10=2");
  ASSERT_EQ(got.rows.size(), 4u);
  EXPECT_EQ(got.rows[0], (Row{"Chicago Reader    ", "1971-01-01", " ", "40  ", "True ",
                              "1.0        ", " ", " 4:14:00", "1971-01-01T04:14:00", ""}));
  EXPECT_EQ(got.rows[2], (Row{"Chicago Tribune   ", "1920-01-01", " ", "164 ", "False",
                              "41800000.01", ",", " 0:00:00", "1920-01-01T00:00:00", "  "}));
  EXPECT_EQ(got.rows[3], (Row{"Row with blanks", "", "", "", "", "", "", "", "", ""}));
}

TEST_F(TextCorpus, FixedWidthFilesReadEveryLine) {
  EXPECT_EQ(
      ReadFixed(CorpusDir("fixed") / "massey-rating.txt", "T=FXD\r\nN=1\r\nL1=37").rows.size(),
      11u);
  const FileRows trailing =
      ReadFixed(CorpusDir("fixed") / "fwf-trailing.txt", "T=FXD\r\nN=1\r\nL1=4");
  EXPECT_EQ(trailing.rows, (Rows{{"123 ", "123"}, {"123 ", "123"}}));
}

}  // namespace
