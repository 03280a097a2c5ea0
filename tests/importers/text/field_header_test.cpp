// The column header string: how its lines are looked up, what a valid one
// yields, every message a parse can end with (golden texts), and the
// deliberate asymmetries that old settings depend on.
#include "importers/text/field_header.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/message_texts.h"
#include "importers/text/column_header_lines.h"

namespace {

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

template <typename T>
std::string Joined(const std::vector<T>& items) {
  std::string text;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += "|";
    if constexpr (std::is_same_v<T, std::string>) {
      text += items[i];
    } else {
      text += std::to_string(items[i]);
    }
  }
  return text;
}

// All that a parse read, in the string's own keys, columns joined by "|".
std::string WhatWasRead(const CKSFieldHeader& header) {
  return header.Type() + (header.IsDelimited() ? " delimited" : " fixed") +
         " N=" + std::to_string(header.FieldCount()) + " S=" + std::to_string(header.FirstRow()) +
         " D=" + header.Delimiters() + " TQ=" + header.Qualifier() +
         " TC=" + std::to_string(header.ConsecutiveAsOne()) + " NA=" + Joined(header.Names()) +
         " P=" + Joined(header.Positions()) + " L=" + Joined(header.Widths());
}

TEST(FieldHeader, EachValidStringReadsAsWritten) {
  const struct {
    const char* name;
    std::vector<std::string_view> lines;
    std::string read;
  } cases[] = {
      {"the defaults: no qualifier, a missing TC counts delimiters as one",
       {"T=CSV", "N=2", "NA1=a", "NA2=b", "D=,"},
       "CSV delimited N=2 S=1 D=, TQ= TC=1 NA=a|b P=0|0 L="},
      // The whole qualifier is kept; the splitter takes its first character.
      {"a full string; a missing name is empty",
       {"T=CSV", "N=3", "S=2", "D=\t;", "TQ='x", "TC=0", "NA1=Name", "P1=1", "NA3=Home Phone",
        "P2=2", "P3=3"},
       "CSV delimited N=3 S=2 D=\t; TQ='x TC=0 NA=Name||Home Phone P=1|2|3 L="},
      {"fixed width takes its widths",
       {"T=FXD", "N=2", "NA1=Name", "L1=10", "NA2=State", "L2=2"},
       "FXD fixed N=2 S=1 D= TQ= TC=0 NA=Name|State P=0|0 L=10|2"},
      {"a first row of 0 is 1",
       {"T=CSV", "N=1", "P1=1", "S=0", "D=,"},
       "CSV delimited N=1 S=1 D=, TQ= TC=1 NA= P=1 L="},
      {"a negative first row is 1",
       {"T=CSV", "N=1", "P1=1", "S=-3", "D=,"},
       "CSV delimited N=1 S=1 D=, TQ= TC=1 NA= P=1 L="},
      {"a non-numeric first row is 1",
       {"T=CSV", "N=1", "P1=1", "S=abc", "D=,"},
       "CSV delimited N=1 S=1 D=, TQ= TC=1 NA= P=1 L="},
      {"non-numeric integers read as 0",
       {"T=CSV", "N=1", "P1=first", "D=,", "TC=yes"},
       "CSV delimited N=1 S=1 D=, TQ= TC=0 NA= P=0 L="},
      {"only positions beyond the count fail",
       {"T=CSV", "N=2", "P1=-1", "P2=2", "D=,", "TC=1"},
       "CSV delimited N=2 S=1 D=, TQ= TC=1 NA=| P=-1|2 L="},
      // Deliberate asymmetries that old settings depend on.
      {"lower-case csv passes, is read as fixed width and so needs no D",
       {"T=csv", "N=2", "L1=3", "L2=4"},
       "csv fixed N=2 S=1 D= TQ= TC=0 NA=| P=0|0 L=3|4"},
      {"fixed width never reads the delimiter keys",
       {"T=fxd", "N=1", "L1=4", "D=", "TC=9", "TQ=\""},
       "fxd fixed N=1 S=1 D= TQ= TC=0 NA= P=0 L=4"},
      {"a missing position repeats the number read last, for column 1 S as written",
       {"T=CSV", "N=4", "S=2", "P2=1", "P4=3", "D=,"},
       "CSV delimited N=4 S=2 D=, TQ= TC=1 NA=||| P=2|1|1|3 L="},
      {"... even when S is below 1",
       {"T=CSV", "N=2", "S=-7", "D=,"},
       "CSV delimited N=2 S=1 D=, TQ= TC=1 NA=| P=-7|-7 L="},
      {"a first row beyond the count passes when a position follows",
       {"T=CSV", "N=2", "S=3", "P1=1", "D=,"},
       "CSV delimited N=2 S=3 D=, TQ= TC=1 NA=| P=1|1 L="},
      {"a missing width repeats the width read last from 0, never S or P",
       {"T=FXD", "N=4", "S=2", "P1=2", "L2=5", "L4=1"},
       "FXD fixed N=4 S=2 D= TQ= TC=0 NA=||| P=2|2|2|2 L=0|5|5|1"},
  };
  for (const auto& c : cases) {
    CKSFieldHeader header;
    ASSERT_TRUE(header.Parse(Lines(c.lines))) << c.name;
    EXPECT_EQ(header.ErrorCode(), 0u) << c.name;
    EXPECT_EQ(header.ErrorText(), "") << c.name;
    EXPECT_EQ(header.HeaderRowFlag(), 0) << c.name;
    EXPECT_EQ(WhatWasRead(header), c.read) << c.name;
  }
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
      // Column 1 inherits S as its position, which is then beyond N.
      {{"T=CSV", "N=2", "S=3", "D=,"}, 13005},
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

TEST(FieldHeaderMessages, ALargeCountWithinTheLimitIsNotRefused) {
  CKSFieldHeader header;
  ASSERT_TRUE(header.Parse(Lines({"T=CSV", "N=100000", "D=,", "P1=1"})));
  EXPECT_EQ(header.Names().size(), 100000u);
}

}  // namespace
