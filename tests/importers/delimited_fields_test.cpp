// The field splitter: the usual quoting rules, every consequence that old
// files depend on (leading and trailing delimiters, unclosed and doubled
// qualifiers, the delimiter list as a set), and how settings are loaded.
#include "importers/text/delimited_fields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

Values SplitMerging(std::string_view record) {
  return Split(record, ",", "\"", 1);
}

// ---- Plain delimiters ----

TEST(DelimitedSplitter, ThreeValuesBetweenTwoDelimiters) {
  EXPECT_EQ(Split("a,b,c"), (Values{"a", "b", "c"}));
}

TEST(DelimitedSplitter, EmptyValueBetweenTwoDelimitersUnlessTheyCountAsOne) {
  EXPECT_EQ(Split("a,,c"), (Values{"a", "", "c"}));
  EXPECT_EQ(SplitMerging("a,,c"), (Values{"a", "c"}));
  EXPECT_EQ(SplitMerging("a,,,,c"), (Values{"a", "c"}));
}

TEST(DelimitedSplitter, LeadingDelimitersAreNeverMerged) {
  EXPECT_EQ(Split(",a"), (Values{"", "a"}));
  EXPECT_EQ(SplitMerging(",a"), (Values{"", "a"}));
  EXPECT_EQ(Split(",,a"), (Values{"", "", "a"}));
  EXPECT_EQ(SplitMerging(",,a"), (Values{"", "a"}))
      << "the second comma follows the one that ended the empty first value";
}

TEST(DelimitedSplitter, TrailingDelimiterGivesOneMoreEmptyValue) {
  EXPECT_EQ(Split("a,b,"), (Values{"a", "b", ""}));
  EXPECT_EQ(Split("a,b,,,"), (Values{"a", "b", "", "", ""}));
  EXPECT_EQ(SplitMerging("a,b,,,"), (Values{"a", "b", ""}));
  EXPECT_EQ(Split(","), (Values{"", ""}));
}

TEST(DelimitedSplitter, DelimiterListIsASetOfSingleCharacters) {
  EXPECT_EQ(Split("a;b,c", ",;"), (Values{"a", "b", "c"}));
  EXPECT_EQ(Split("1ab2ba3", "ab"), (Values{"1", "", "2", "", "3"}))
      << "\"ab\" is two delimiters, never the sequence ab";
  EXPECT_EQ(Split("a,;b", ",;", "\"", 1), (Values{"a", "b"})) << "any mix of them merges";
}

TEST(DelimitedSplitter, TabDelimiter) {
  EXPECT_EQ(Split("a\tb c\t", "\t"), (Values{"a", "b c", ""}));
}

TEST(DelimitedSplitter, SpacesAroundValuesAreKept) {
  EXPECT_EQ(Split(" a , b ,\"  c  \" "), (Values{" a ", " b ", "  c   "}));
}

TEST(DelimitedSplitter, ValueCountIsNotComparedWithTheColumnCount) {
  EXPECT_EQ(Split("a,b,c,d,e").size(), 5u);
  EXPECT_EQ(Split("a").size(), 1u);
}

TEST(DelimitedSplitter, EmptyRecordHasNoValues) {
  EXPECT_TRUE(Split("").empty());
}

// ---- Qualifier ----

TEST(DelimitedSplitterQuotes, QuotedDelimitersBelongToTheValue) {
  EXPECT_EQ(Split("\"x,y\",z"), (Values{"x,y", "z"}));
}

TEST(DelimitedSplitterQuotes, DoubledQualifierInsideQuotesIsOneLiteralQualifier) {
  EXPECT_EQ(Split("\"say \"\"hi\"\"\",b"), (Values{"say \"hi\"", "b"}));
  EXPECT_EQ(Split("\"\"\"\""), (Values{"\""}));
  EXPECT_EQ(Split("\"a\"\",b\""), (Values{"a\",b"})) << "the text stays quoted after the pair";
}

TEST(DelimitedSplitterQuotes, DoubledQualifierOutsideQuotesIsNothing) {
  EXPECT_EQ(Split("a,\"\",b"), (Values{"a", "", "b"}));
  EXPECT_EQ(Split("ab\"\"cd,e"), (Values{"abcd", "e"}));
}

TEST(DelimitedSplitterQuotes, QualifierOpensQuotedTextAnywhereInAField) {
  EXPECT_EQ(Split("ab\"cd\",e"), (Values{"abcd", "e"}));
  EXPECT_EQ(Split("ab\"c,d\"e,f"), (Values{"abc,de", "f"}));
}

TEST(DelimitedSplitterQuotes, UnclosedQualifierKeepsTheRestOfTheRecord) {
  EXPECT_EQ(Split("a,\"b,c"), (Values{"a", "b,c"}));
  EXPECT_EQ(Split("a,\"b,c\r\nd,e"), (Values{"a", "b,c\r\nd,e"}));
}

TEST(DelimitedSplitterQuotes, LineEndsInsideQuotesAreKept) {
  EXPECT_EQ(Split("\"x\r\ny\",z"), (Values{"x\r\ny", "z"}));
  EXPECT_EQ(Split("\"x\ry\",\"\nz\""), (Values{"x\ry", "\nz"}));
}

TEST(DelimitedSplitterQuotes, ApostropheQualifierMakesTheDoubleQuoteOrdinary) {
  EXPECT_EQ(Split("'a,b',\"c,d\"", ",", "'"), (Values{"a,b", "\"c", "d\""}));
}

TEST(DelimitedSplitterQuotes, OnlyTheFirstCharacterOfTheQualifierCounts) {
  EXPECT_EQ(Split("'a,b'x,c", ",", "'x"), (Values{"a,bx", "c"}));
}

TEST(DelimitedSplitterQuotes, NoQualifierWhenItIsEmptyOrAnythingButAQuote) {
  for (const char* qualifier : {"", "|", "x\""}) {
    EXPECT_EQ(Split("\"a,b\",|c|", ",", qualifier), (Values{"\"a", "b\"", "|c|"})) << qualifier;
  }
}

// ---- Text a record reader would never hand over ----

TEST(DelimitedSplitterOddText, UnquotedLineEndEndsAFieldAndOneMoreIsSkipped) {
  EXPECT_EQ(Split("a\r\nb,c"), (Values{"a", "b", "c"}));
  EXPECT_EQ(Split("a,\nb"), (Values{"a", "b"})) << "the delimiter's value runs into the LF";
  EXPECT_EQ(Split("a\n\n\nb"), (Values{"a", "", "b"}));
}

TEST(DelimitedSplitterOddText, TheRecordEndsAtItsFirstNul) {
  EXPECT_EQ(Split(std::string("a,b\0c,d", 7)), (Values{"a", "b"}));
}

// ---- Handing out values ----

TEST(DelimitedFieldsCursor, ValuesAreHandedOutInOrderThenNoMore) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(","));
  fields.Split("x,y");
  std::string value;
  ASSERT_TRUE(fields.NextValue(&value));
  EXPECT_EQ(value, "x");
  ASSERT_TRUE(fields.NextValue(&value));
  EXPECT_EQ(value, "y");
  EXPECT_FALSE(fields.NextValue(&value));
  EXPECT_EQ(value, "y");
  EXPECT_EQ(fields.ValueCount(), 2u);
}

TEST(DelimitedFieldsCursor, ANewRecordDiscardsTheOldValuesAndRewinds) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(","));
  fields.Split("1,2,3");
  std::string value;
  fields.NextValue(&value);
  fields.Split("z");
  EXPECT_EQ(fields.ValueCount(), 1u);
  ASSERT_TRUE(fields.NextValue(&value));
  EXPECT_EQ(value, "z");
}

// ---- Loading settings ----

TEST(DelimitedFieldsSettings, DefaultsBeforeAnyLoad) {
  CDelimitedFields fields;
  EXPECT_EQ(fields.Qualifier(), '"');
  EXPECT_EQ(fields.PrimaryDelimiter(), ',');
  EXPECT_FALSE(fields.ConsecutiveAsOne());
  EXPECT_FALSE(fields.IsDelimiter(',')) << "the table starts empty";
  fields.Split("a,b");
  EXPECT_EQ(fields.Values(), (Values{"a,b"}));
}

TEST(DelimitedFieldsSettings, LoadTakesQualifierSwitchAndEveryDelimiter) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(";|", "'", 1));
  EXPECT_EQ(fields.Qualifier(), '\'');
  EXPECT_TRUE(fields.ConsecutiveAsOne());
  EXPECT_EQ(fields.PrimaryDelimiter(), ';');
  EXPECT_TRUE(fields.IsDelimiter(';'));
  EXPECT_TRUE(fields.IsDelimiter('|'));
  EXPECT_FALSE(fields.IsDelimiter(','));
}

TEST(DelimitedFieldsSettings, EveryLoadStartsFromAnEmptyTable) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(";"));
  fields.LoadSettings(Settings(","));
  EXPECT_FALSE(fields.IsDelimiter(';'));
  EXPECT_TRUE(fields.IsDelimiter(','));
}

TEST(DelimitedFieldsSettings, AStringThatFailsSplitsOnCommaWithTheDoubleQuote) {
  CDelimitedFields fields;
  fields.LoadSettings("T=CSV\r\nN=2\r\nD=;\r\nTC=5");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 13009u);
  EXPECT_TRUE(fields.IsDelimiter(','));
  EXPECT_FALSE(fields.IsDelimiter(';'));
  fields.Split("\"a,b\",c;d");
  EXPECT_EQ(fields.Values(), (Values{"a,b", "c;d"}));
}

TEST(DelimitedFieldsSettings, AFailedLoadKeepsWhatTheLastGoodLoadSet) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(";,", "'", 1));
  fields.LoadSettings("");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 13012u);
  EXPECT_TRUE(fields.IsDelimiter(';')) << "the primary delimiter is the last good one";
  EXPECT_FALSE(fields.IsDelimiter(','));
  EXPECT_EQ(fields.Qualifier(), '\'');
  EXPECT_TRUE(fields.ConsecutiveAsOne());
}

TEST(DelimitedFieldsSettings, AFixedWidthStringLeavesNoDelimiterAndNoQualifier) {
  CDelimitedFields fields;
  fields.LoadSettings("T=FXD\r\nN=1\r\nL1=4");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 0u);
  EXPECT_EQ(fields.Qualifier(), '\0');
  EXPECT_FALSE(fields.IsDelimiter(','));
  fields.Split("\"a,b");
  EXPECT_EQ(fields.Values(), (Values{"\"a,b"}));
}

TEST(DelimitedFieldsSettings, AHugeFieldIsSplitWhole) {
  CDelimitedFields fields;
  fields.LoadSettings(Settings(","));
  std::string record = "a,\"" + std::string(8u << 20, 'x') + "\",b";
  fields.Split(record);
  ASSERT_EQ(fields.ValueCount(), 3u);
  EXPECT_EQ(fields.Values()[1].size(), 8u << 20);
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

}  // namespace
