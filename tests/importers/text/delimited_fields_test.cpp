// The field splitter: the usual quoting rules, every consequence that old
// files depend on (leading and trailing delimiters, unclosed and doubled
// qualifiers, the delimiter list as a set), and how settings are loaded; and
// cutting fixed-width lines (loading their widths shows in fixed_import_test).
#include "importers/text/delimited_fields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "importers/text/fixed_width_fields.h"

namespace {

using Values = std::vector<std::string>;

std::string Settings(std::string_view delimiters, std::string_view qualifier = "\"",
                     int consecutive = 0) {
  return "T=CSV\r\nN=3\r\nP1=1\r\nD=" + std::string(delimiters) +
         "\r\nTQ=" + std::string(qualifier) + "\r\nTC=" + std::to_string(consecutive);
}

Values Split(std::string_view record, std::string_view delimiters = ",",
             std::string_view qualifier = "\"", int consecutive = 0) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(delimiters, qualifier, consecutive));
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 0u);
  fields.Split(record);
  return fields.Values();
}

struct SplitCase {
  const char* name;
  std::string record;
  Values expected;
  std::string_view delimiters = ",";
  std::string_view qualifier = "\"";
  int consecutive = 0;  // 1: consecutive delimiters count as one
};

void ExpectSplits(const std::vector<SplitCase>& cases) {
  for (const SplitCase& c : cases) {
    EXPECT_EQ(Split(c.record, c.delimiters, c.qualifier, c.consecutive), c.expected) << c.name;
  }
}

TEST(DelimitedSplitter, DelimitersLeadingTrailingMergedAndAsASet) {
  ExpectSplits({
      {"three values between two delimiters", "a,b,c", {"a", "b", "c"}},
      {"empty value between two delimiters", "a,,c", {"a", "", "c"}},
      {"consecutive delimiters as one", "a,,c", {"a", "c"}, ",", "\"", 1},
      {"any run of them as one", "a,,,,c", {"a", "c"}, ",", "\"", 1},
      {"leading delimiter", ",a", {"", "a"}},
      {"leading delimiter is never merged", ",a", {"", "a"}, ",", "\"", 1},
      {"two leading delimiters", ",,a", {"", "", "a"}},
      {"merged: the 2nd comma follows the one ending value 1", ",,a", {"", "a"}, ",", "\"", 1},
      {"trailing delimiter gives one more empty value", "a,b,", {"a", "b", ""}},
      {"trailing delimiters", "a,b,,,", {"a", "b", "", "", ""}},
      {"trailing delimiters merged", "a,b,,,", {"a", "b", ""}, ",", "\"", 1},
      {"a lone delimiter", ",", {"", ""}},
      {"delimiter list is a set", "a;b,c", {"a", "b", "c"}, ",;"},
      {"\"ab\" is two delimiters, never the sequence ab", "1ab2ba3", {"1", "", "2", "", "3"}, "ab"},
      {"any mix of the set merges", "a,;b", {"a", "b"}, ",;", "\"", 1},
      {"tab delimiter", "a\tb c\t", {"a", "b c", ""}, "\t"},
      {"spaces around values are kept", " a , b ,\"  c  \" ", {" a ", " b ", "  c   "}},
      {"more values than columns are all kept", "a,b,c,d,e", {"a", "b", "c", "d", "e"}},
      {"fewer values than columns", "a", {"a"}},
      {"an empty record has no values", "", {}},
  });
}

TEST(DelimitedSplitter, QualifierRules) {
  ExpectSplits({
      {"quoted delimiters belong to the value", "\"x,y\",z", {"x,y", "z"}},
      {"doubled qualifier in quotes is one literal", "\"say \"\"hi\"\"\",b", {"say \"hi\"", "b"}},
      {"a doubled qualifier alone in quotes", "\"\"\"\"", {"\""}},
      {"the text stays quoted after the pair", "\"a\"\",b\"", {"a\",b"}},
      {"doubled qualifier outside quotes is nothing", "a,\"\",b", {"a", "", "b"}},
      {"doubled qualifier inside unquoted text is nothing", "ab\"\"cd,e", {"abcd", "e"}},
      {"qualifier opens quoted text anywhere in a field", "ab\"cd\",e", {"abcd", "e"}},
      {"quoted text in the middle of a field", "ab\"c,d\"e,f", {"abc,de", "f"}},
      {"unclosed qualifier keeps the rest of the record", "a,\"b,c", {"a", "b,c"}},
      {"unclosed qualifier keeps line ends too", "a,\"b,c\r\nd,e", {"a", "b,c\r\nd,e"}},
      {"CR LF inside quotes is kept", "\"x\r\ny\",z", {"x\r\ny", "z"}},
      {"CR or LF inside quotes is kept", "\"x\ry\",\"\nz\"", {"x\ry", "\nz"}},
      {"apostrophe qualifier: \" is ordinary", "'a,b',\"c,d\"", {"a,b", "\"c", "d\""}, ",", "'"},
      {"only the first character of the qualifier counts", "'a,b'x,c", {"a,bx", "c"}, ",", "'x"},
      {"no qualifier when it is empty", "\"a,b\",|c|", {"\"a", "b\"", "|c|"}, ",", ""},
      {"no qualifier: anything but a quote", "\"a,b\",|c|", {"\"a", "b\"", "|c|"}, ",", "|"},
      {"no qualifier: a quote not first", "\"a,b\",|c|", {"\"a", "b\"", "|c|"}, ",", "x\""},
  });
}

// Text a record reader would never hand over.
TEST(DelimitedSplitter, OddTextFromOutsideTheReader) {
  ExpectSplits({
      {"an unquoted line end ends a field and one more is skipped", "a\r\nb,c", {"a", "b", "c"}},
      {"the delimiter's value runs into the LF", "a,\nb", {"a", "b"}},
      {"three LFs", "a\n\n\nb", {"a", "", "b"}},
      {"the record ends at its first NUL", std::string("a,b\0c,d", 7), {"a", "b"}},
  });
}

TEST(DelimitedSplitter, OneSplitterGivesEachRecordWhatAFreshOneWould) {
  // The value strings are reused between records: nothing of a longer or
  // quoted record may show through in the next.
  CDelimitedFields fields;
  fields.LoadSettings(Settings(","));
  for (const std::string_view record :
       {"alpha,\"b,c\",delta,echo", "x", "\"q\"\"q\",", "", "long value here,short", "a,b"}) {
    fields.Split(record);
    EXPECT_EQ(fields.Values(), Split(record)) << record;
  }
}

TEST(DelimitedFieldsCursor, ValuesAreHandedOutInOrderAndANewRecordRewinds) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(","));
  std::string value;
  for (const std::string_view record : {"x,y", "z"}) {
    fields.Split(record);
    Values taken;
    while (fields.NextValue(&value)) taken.push_back(value);
    EXPECT_EQ(taken, Split(record)) << record;
  }
  EXPECT_EQ(value, "z") << "once all were taken the last value stays";
}

// ---- Loading settings ----

TEST(DelimitedFieldsSettings, TheDelimitersAreThoseOfTheLastLoadOnly) {
  CDelimitedFields fields;
  fields.Split("a,b");
  EXPECT_EQ(fields.Values(), (Values{"a,b"})) << "before any load nothing is a delimiter";
  fields.LoadSettings(Settings(","));
  fields.LoadSettings(Settings(";|", "'", 1));
  EXPECT_EQ(fields.Qualifier(), '\'');
  EXPECT_EQ(fields.PrimaryDelimiter(), ';');
  fields.Split("'a;b',c;;d|e");
  EXPECT_EQ(fields.Values(), (Values{"a;b,c", "d", "e"}));
}

TEST(DelimitedFieldsSettings, AFirstLoadThatFailsSplitsOnCommaWithTheDoubleQuote) {
  CDelimitedFields fields;
  fields.LoadSettings("T=CSV\r\nN=2\r\nD=;\r\nTC=5");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 13009u);
  EXPECT_EQ(fields.Qualifier(), '"');
  fields.Split("\"a,b\",,c;d");
  EXPECT_EQ(fields.Values(), (Values{"a,b", "", "c;d"})) << "and counts each delimiter";
}

TEST(DelimitedFieldsSettings, AFailedLoadKeepsWhatTheLastGoodLoadSet) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(";,", "'", 1));
  fields.LoadSettings("");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 13012u);
  EXPECT_EQ(fields.Qualifier(), '\'');
  // Of the delimiters only the primary one is left.
  fields.Split("'x;y';;z,w");
  EXPECT_EQ(fields.Values(), (Values{"x;y", "z,w"}));
}

TEST(DelimitedFieldsSettings, AFixedWidthStringLeavesNoDelimiterAndNoQualifier) {
  CDelimitedFields fields;
  fields.LoadSettings("T=FXD\r\nN=1\r\nL1=4");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 0u);
  EXPECT_EQ(fields.Qualifier(), '\0');
  fields.Split("\"a,b");
  EXPECT_EQ(fields.Values(), (Values{"\"a,b"}));
}

// ---- Fixed width ----

TEST(FixedWidthCut, LinesAreCutAtTheWidthsInOrder) {
  const struct {
    const char* name;
    std::string_view line;
    std::vector<int32_t> widths;
    Values expected;
  } cases[] = {
      {"text after the last column is one more value",
       "abcdefghij",
       {3, 4},
       {"abc", "defg", "hij"}},
      {"a line that fits exactly has no extra value", "abcdefg", {3, 4}, {"abc", "defg"}},
      {"a short line gives short and empty values", "abc", {5, 5}, {"abc", ""}},
      {"an empty line", "", {2, 1}, {"", ""}},
      {"filler blanks are kept", "Smith     WA", {10, 2}, {"Smith     ", "WA"}},
      {"zero and negative widths take nothing", "abcd", {0, 2, -3, 1}, {"", "ab", "", "c", "d"}},
      {"without widths the values stay as they were", "abcd", {}, {"previous"}},
  };
  for (const auto& c : cases) {
    Values values{"previous"};
    ks::text::CutFixedWidthLine(c.line, c.widths, &values);
    EXPECT_EQ(values, c.expected) << c.name;
  }
}

}  // namespace
