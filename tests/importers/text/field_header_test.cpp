// The column header string: how its lines are looked up, what a valid one
// yields, every message a parse can end with (golden texts), and the
// deliberate asymmetries that old settings depend on.
#include "importers/text/field_header.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/message_texts.h"
#include "importers/text/column_header_lines.h"

namespace {

using Names = std::vector<std::string>;
using Numbers = std::vector<int32_t>;

std::string Lines(const std::vector<std::string_view>& lines) {
  std::string text;
  for (const std::string_view line : lines) {
    if (!text.empty()) text += "\r\n";
    text += line;
  }
  return text;
}

// ---- Looking up keys ----

TEST(ColumnHeaderLines, KeysAreFoundWithoutRegardToCaseAndValuesAsWritten) {
  const struct {
    const char* name;
    std::string text, key;
    std::optional<std::string> value;
  } cases[] = {
      {"keys match in any case", "na1=first\r\nNA1=second\r\nTq=\"", "tq", "\""},
      {"the first occurrence counts", "na1=first\r\nNA1=second", "NA1", "first"},
      {"a key not there", "na1=first", "NA2", std::nullopt},
      {"any run of CR and LF separates lines", "\n\rA=1\r\r\n\nB=2\nC=3\r", "A", "1"},
      {"... in the middle", "\n\rA=1\r\r\n\nB=2\nC=3\r", "B", "2"},
      {"... at the end", "\n\rA=1\r\r\n\nB=2\nC=3\r", "C", "3"},
      {"the value is all after the first =, untrimmed", "NA1= a=b \r\nD=", "NA1", " a=b "},
      {"present but empty is not missing", "NA1= a=b \r\nD=", "D", ""},
      {"keys are not trimmed either", "D=\r\n K=v", "K", std::nullopt},
      {"a key with its blank", "D=\r\n K=v", " K", "v"},
      {"lines before one without = are read", "A=1\r\nno equals sign here\r\nB=2", "A", "1"},
      {"a line without = ends every lookup that reaches it", "A=1\r\nno equals sign here\r\nB=2",
       "B", std::nullopt},
      {"values are cut at 1023 characters", "NA1=" + std::string(2000, 'x'), "NA1",
       std::string(1023, 'x')},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ks::text::ColumnHeaderLines(c.text).Find(c.key), c.value) << c.name;
  }
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

TEST(FieldHeaderMessages, EachRefusalGivesItsNumberAndTheTextOfTheMessageTable) {
  // The texts themselves, oddities and all, are checked with every other
  // message's in message_texts_test.cpp.
  const std::pair<std::vector<std::string_view>, uint32_t> refusals[] = {
      {{}, 13012},
      {{"T=CSV", "N=2000000000", "D=,"}, 13012},  // beyond the column limit
      {{"N=1", "D=,"}, 13000},
      {{"T=TXT", "N=1"}, 13001},
      {{"T=CSV", "D=,"}, 13002},
      {{"T=CSV", "N=0", "D=,"}, 13003},
      {{"T=CSV", "N=-3", "D=,"}, 13003},
      {{"T=CSV", "N=many", "D=,"}, 13003},
      {{"T=CSV", "N=", "D=,"}, 13003},
      {{"T=CSV", "N=2", "P1=5", "D=,"}, 13005},
      {{"T=CSV", "N=2", "P1=1", "P2=3", "D=,"}, 13005},
      {{"T=CSV", "N=1", "D="}, 13007},
      {{"T=CSV", "N=1"}, 13008},
      {{"T=CSV", "N=1", "oops", "D=,"}, 13008},  // the line without "=" ends the lookup
      {{"T=CSV", "N=1", "D=,", "TC=2"}, 13009},
      {{"T=CSV", "N=1", "D=,", "TC=-1"}, 13009},
      {{"T=FXD", "N=2", "L1=3", "L2=-1"}, 13011},
  };
  for (const auto& [lines, code] : refusals) {
    const std::string column_header = Lines(lines);
    const std::string shown = testing::PrintToString(column_header);
    CKSFieldHeader header;
    EXPECT_FALSE(header.Parse(column_header)) << shown;
    EXPECT_EQ(header.ErrorCode(), code) << shown;
    EXPECT_EQ(header.ErrorText(), MessageText(code)) << shown;
    if (code == 13012) {
      EXPECT_TRUE(header.Names().empty()) << "no columns allocated";
    }
  }
}

TEST(FieldHeaderMessages, WhatIsNotRefused) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=100000", "D=,", "P1=1"})));
  EXPECT_EQ(header.Names().size(), 100000u) << "a large count within the limit";
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=2", "P1=-1", "P2=2", "D=,"})));
  EXPECT_EQ(header.Positions(), (Numbers{-1, 2})) << "only positions beyond the count fail";
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=1", "D=,", "TC=1"})));
  EXPECT_EQ(header.ConsecutiveAsOne(), 1);
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
