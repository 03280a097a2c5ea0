// The column header string: how its lines are looked up, what a valid one
// yields, every message a parse can end with (golden texts), and the
// deliberate asymmetries that old settings depend on.
#include "importers/text/field_header.h"

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "api/message_texts.h"
#include "importers/text/column_header_lines.h"

namespace {

using Names = std::vector<std::string>;
using Numbers = std::vector<int32_t>;

std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (const std::string_view line : lines) {
    if (!text.empty()) text += "\r\n";
    text += line;
  }
  return text;
}

// ---- Looking up keys ----

TEST(ColumnHeaderLines, KeysMatchWithoutRegardToCaseAndTheFirstOccurrenceCounts) {
  const ks::text::ColumnHeaderLines lines("na1=first\r\nNA1=second\r\nTq=\"");
  EXPECT_EQ(lines.Find("NA1"), "first");
  EXPECT_EQ(lines.Find("tq"), "\"");
  EXPECT_FALSE(lines.Find("NA2"));
}

TEST(ColumnHeaderLines, AnyRunOfCrAndLfSeparatesLines) {
  const ks::text::ColumnHeaderLines lines("\n\rA=1\r\r\n\nB=2\nC=3\r");
  EXPECT_EQ(lines.Find("A"), "1");
  EXPECT_EQ(lines.Find("B"), "2");
  EXPECT_EQ(lines.Find("C"), "3");
}

TEST(ColumnHeaderLines, ValueIsEverythingAfterTheFirstEqualsSignUntrimmed) {
  const ks::text::ColumnHeaderLines lines("NA1= a=b \r\nD=\r\n K=v");
  EXPECT_EQ(lines.Find("NA1"), " a=b ");
  EXPECT_EQ(lines.Find("D"), "") << "present but empty is not missing";
  EXPECT_FALSE(lines.Find("K")) << "keys are not trimmed either";
  EXPECT_EQ(lines.Find(" K"), "v");
}

TEST(ColumnHeaderLines, ALineWithoutEqualsSignEndsEveryLookupThatReachesIt) {
  const ks::text::ColumnHeaderLines lines("A=1\r\nno equals sign here\r\nB=2");
  EXPECT_EQ(lines.Find("A"), "1");
  EXPECT_FALSE(lines.Find("B"));
}

TEST(ColumnHeaderLines, ValuesAreCutAt1023Characters) {
  const ks::text::ColumnHeaderLines lines("NA1=" + std::string(2000, 'x'));
  EXPECT_EQ(lines.Find("NA1")->size(), 1023u);
}

TEST(ColumnHeaderLines, IntegersReadAsTheCLibraryReadsThem) {
  using ks::text::ParseLeadingInteger;
  EXPECT_EQ(ParseLeadingInteger("42"), 42);
  EXPECT_EQ(ParseLeadingInteger(" \t+7 apples"), 7);
  EXPECT_EQ(ParseLeadingInteger("-12"), -12);
  EXPECT_EQ(ParseLeadingInteger("3.9"), 3);
  EXPECT_EQ(ParseLeadingInteger("abc"), 0);
  EXPECT_EQ(ParseLeadingInteger(""), 0);
  EXPECT_EQ(ParseLeadingInteger("- 5"), 0);
  EXPECT_EQ(ParseLeadingInteger("99999999999999999999"), INT_MAX);
  EXPECT_EQ(ParseLeadingInteger("-99999999999999999999"), INT_MIN);
}

// ---- A valid string ----

TEST(FieldHeader, MinimalDelimitedStringTakesTheDefaults) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "NA1=a", "NA2=b", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 0u);
  EXPECT_EQ(header.ErrorText(), "");
  EXPECT_EQ(header.Type(), "CSV");
  EXPECT_TRUE(header.IsDelimited());
  EXPECT_EQ(header.FieldCount(), 2);
  EXPECT_EQ(header.Names(), (Names{"a", "b"}));
  EXPECT_EQ(header.Delimiters(), ",");
  EXPECT_EQ(header.Qualifier(), "");
  EXPECT_EQ(header.ConsecutiveAsOne(), 1) << "a missing TC counts delimiters as one";
  EXPECT_EQ(header.FirstRow(), 1);
  EXPECT_EQ(header.HeaderRowFlag(), 0);
  EXPECT_TRUE(header.Widths().empty());
}

TEST(FieldHeader, FullDelimitedStringIsReadAsWritten) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=3", "S=2", "D=\t;", "TQ='x", "TC=0", "NA1=Name",
                                  "P1=1", "NA3=Home Phone", "P2=2", "P3=3"})));
  EXPECT_EQ(header.FirstRow(), 2);
  EXPECT_EQ(header.Delimiters(), "\t;");
  EXPECT_EQ(header.Qualifier(), "'x") << "the whole value; the splitter takes its first character";
  EXPECT_EQ(header.ConsecutiveAsOne(), 0);
  EXPECT_EQ(header.Names(), (Names{"Name", "", "Home Phone"})) << "a missing name is empty";
  EXPECT_EQ(header.Positions(), (Numbers{1, 2, 3}));
}

TEST(FieldHeader, FixedWidthStringTakesItsWidths) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=FXD", "N=2", "NA1=Name", "L1=10", "NA2=State", "L2=2"})));
  EXPECT_FALSE(header.IsDelimited());
  EXPECT_EQ(header.Widths(), (Numbers{10, 2}));
  EXPECT_EQ(header.Names(), (Names{"Name", "State"}));
}

TEST(FieldHeader, FirstRowBelowOneOrMissingIsOne) {
  CKSFieldHeader header;
  for (const char* first_row : {"S=0", "S=-3", "S=abc", "X=1"}) {
    ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "P1=1", first_row, "D=,"}))) << first_row;
    EXPECT_EQ(header.FirstRow(), 1) << first_row;
  }
}

TEST(FieldHeader, NonNumericIntegersReadAsZero) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "P1=first", "D=,", "TC=yes"})));
  EXPECT_EQ(header.Positions(), (Numbers{0}));
  EXPECT_EQ(header.ConsecutiveAsOne(), 0);
}

TEST(FieldHeader, ANewParseForgetsThePreviousString) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "S=4", "P1=1", "NA1=a", "D=;", "TQ=\""})));
  EXPECT_FALSE(header.Parse("T=CSV"));
  EXPECT_EQ(header.ErrorCode(), 13002u);
  EXPECT_EQ(header.Type(), "CSV") << "what was read before the failure stays";
  EXPECT_EQ(header.FieldCount(), 0);
  EXPECT_TRUE(header.Names().empty());
  EXPECT_EQ(header.Delimiters(), "");
  EXPECT_EQ(header.Qualifier(), "");
  EXPECT_EQ(header.FirstRow(), 1);
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 0u);
}

// ---- Every message a parse can end with ----

struct Refusal {
  std::string column_header;
  uint32_t code;
  std::string_view text;
};

TEST(FieldHeaderMessages, EachRefusalGivesItsNumberAndExactText) {
  const Refusal refusals[] = {
      {"", 13012, "Invalid column header string."},
      {Lines({"N=1", "D=,"}), 13000, "Type string missing "},
      {Lines({"T=TXT", "N=1"}), 13001, "String must be either CSV or FXD."},
      {Lines({"T=CSV", "D=,"}), 13002, "Number of fields missing."},
      {Lines({"T=CSV", "N=0", "D=,"}), 13003,
       "Number of fields must be greater than or eqaul to 0."},
      {Lines({"T=CSV", "N=2", "P1=5", "D=,"}), 13005,
       "Column position must be greater than or eqaul to 0."},
      {Lines({"T=CSV", "N=1", "D="}), 13007, "Length of delimiter list must be greater than 0."},
      {Lines({"T=CSV", "N=1"}), 13008, "Delimiter string is missing."},
      {Lines({"T=CSV", "N=1", "D=,", "TC=2"}), 13009,
       "TreatConsectiveDelimitersAsOne must be either 0 or 1."},
      {Lines({"T=FXD", "N=2", "L1=3", "L2=-1"}), 13011, "Length of field missing."},
  };
  for (const Refusal& refusal : refusals) {
    CKSFieldHeader header;
    EXPECT_FALSE(header.Parse(refusal.column_header)) << refusal.code;
    EXPECT_EQ(header.ErrorCode(), refusal.code);
    EXPECT_EQ(header.ErrorText(), refusal.text) << refusal.code;
  }
}

TEST(FieldHeaderMessages, TextsThatNoParseRaisesAreInTheMessageTableToo) {
  EXPECT_EQ(MessageText(13004), "Length of Name  field must be greater than or equal to 0.");
  EXPECT_EQ(MessageText(13006), "Column position is missing.");
  EXPECT_EQ(MessageText(13010), "Length of field must be eqaul to or greater than 0.");
}

TEST(FieldHeaderMessages, DelimiterAfterALineWithoutEqualsSignIsMissing) {
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(Lines({"T=CSV", "N=1", "oops", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 13008u);
}

TEST(FieldHeaderMessages, NegativeOrNonNumericCountIsBelowOne) {
  CKSFieldHeader header;
  for (const char* count : {"N=-3", "N=many", "N="}) {
    EXPECT_FALSE(header.Parse(Lines({"T=CSV", count, "D=,"}))) << count;
    EXPECT_EQ(header.ErrorCode(), 13003u) << count;
  }
}

TEST(FieldHeaderMessages, CountBeyondTheColumnLimitIsAnInvalidString) {
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(Lines({"T=CSV", "N=2000000000", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 13012u);
  EXPECT_TRUE(header.Names().empty()) << "nothing is allocated for the columns";
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=100000", "D=,", "P1=1"})));
  EXPECT_EQ(header.Names().size(), 100000u);
}

TEST(FieldHeaderMessages, OnlyPositionsBeyondTheCountAreRefused) {
  CKSFieldHeader header;
  EXPECT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "P1=-1", "P2=2", "D=,"})));
  EXPECT_EQ(header.Positions(), (Numbers{-1, 2}));
  EXPECT_FALSE(header.Parse(Lines({"T=CSV", "N=2", "P1=1", "P2=3", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 13005u);
}

TEST(FieldHeaderMessages, ConsecutiveSwitchTakesZeroOrOneOnly) {
  CKSFieldHeader header;
  EXPECT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "D=,", "TC=0"})));
  EXPECT_EQ(header.ConsecutiveAsOne(), 0);
  EXPECT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "D=,", "TC=1"})));
  EXPECT_EQ(header.ConsecutiveAsOne(), 1);
  EXPECT_FALSE(header.Parse(Lines({"T=CSV", "N=1", "D=,", "TC=-1"})));
  EXPECT_EQ(header.ErrorCode(), 13009u);
}

// ---- Deliberate asymmetries ----

TEST(FieldHeaderAsymmetries, LowerCaseCsvPassesButIsReadAsFixedWidth) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=csv", "N=2", "L1=3", "L2=4"})))
      << "no D is needed, because D is never read";
  EXPECT_FALSE(header.IsDelimited());
  EXPECT_EQ(header.Type(), "csv");
  EXPECT_EQ(header.Widths(), (Numbers{3, 4}));
  EXPECT_EQ(header.Delimiters(), "");
}

TEST(FieldHeaderAsymmetries, FixedWidthNeverReadsTheDelimiterKeys) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=fxd", "N=1", "L1=4", "D=", "TC=9", "TQ=\""})));
  EXPECT_EQ(header.Delimiters(), "");
  EXPECT_EQ(header.Qualifier(), "");
  EXPECT_EQ(header.ConsecutiveAsOne(), 0);
}

TEST(FieldHeaderAsymmetries, AMissingPositionRepeatsTheNumberReadLast) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=4", "S=2", "P2=1", "P4=3", "D=,"})));
  EXPECT_EQ(header.Positions(), (Numbers{2, 1, 1, 3})) << "column 1 repeats S as written";
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "S=-7", "D=,"})));
  EXPECT_EQ(header.FirstRow(), 1);
  EXPECT_EQ(header.Positions(), (Numbers{-7, -7}));
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "D=,"})));
  EXPECT_EQ(header.Positions(), (Numbers{0, 0}));
}

TEST(FieldHeaderAsymmetries, AFirstRowBeyondTheCountFailsWhenNoPositionFollows) {
  // Column 1 inherits S as its position, which is then beyond N.
  CKSFieldHeader header;
  EXPECT_FALSE(header.Parse(Lines({"T=CSV", "N=2", "S=3", "D=,"})));
  EXPECT_EQ(header.ErrorCode(), 13005u);
  EXPECT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "S=3", "P1=1", "D=,"})));
  EXPECT_EQ(header.FirstRow(), 3);
}

TEST(FieldHeaderAsymmetries, AMissingWidthRepeatsTheWidthReadLastFromZero) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=FXD", "N=4", "S=2", "P1=2", "L2=5", "L4=1"})));
  EXPECT_EQ(header.Widths(), (Numbers{0, 5, 5, 1})) << "widths do not inherit S or P";
}

}  // namespace
