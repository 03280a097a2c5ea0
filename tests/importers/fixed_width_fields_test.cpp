// Cutting fixed-width lines into values, alone and through the shared
// values of CDelimitedFields loaded from a column header string.
#include "importers/text/fixed_width_fields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "importers/text/delimited_fields.h"

namespace {

using Values = std::vector<std::string>;
using Widths = std::vector<int32_t>;

Values Cut(std::string_view line, const Widths& widths) {
  Values values{"previous"};
  ks::text::CutFixedWidthLine(line, widths, &values);
  return values;
}

TEST(FixedWidthCut, TextAfterTheLastColumnIsOneMoreValue) {
  EXPECT_EQ(Cut("abcdefghij", {3, 4}), (Values{"abc", "defg", "hij"}));
}

TEST(FixedWidthCut, AShortLineGivesShortAndEmptyValues) {
  EXPECT_EQ(Cut("abc", {5, 5}), (Values{"abc", ""}));
  EXPECT_EQ(Cut("", {2, 1}), (Values{"", ""}));
}

TEST(FixedWidthCut, ALineThatFitsExactlyHasNoExtraValue) {
  EXPECT_EQ(Cut("abcdefg", {3, 4}), (Values{"abc", "defg"}));
}

TEST(FixedWidthCut, FillerBlanksAreKept) {
  EXPECT_EQ(Cut("Smith     WA", {10, 2}), (Values{"Smith     ", "WA"}));
}

TEST(FixedWidthCut, ZeroAndNegativeWidthsTakeNothing) {
  EXPECT_EQ(Cut("abcd", {0, 2, -3, 1}), (Values{"", "ab", "", "c", "d"}));
}

TEST(FixedWidthCut, WithoutWidthsTheValuesStayAsTheyWere) {
  EXPECT_EQ(Cut("abcd", {}), (Values{"previous"}));
}

TEST(FixedWidthFields, LoadedWidthsCutLinesIntoTheSharedValues) {
  CDelimitedFields fields;
  fields.LoadFixedSettings("T=FXD\r\nN=2\r\nNA1=Name\r\nL1=3\r\nNA2=Rest\r\nL2=4");
  EXPECT_EQ(fields.Widths(), (Widths{3, 4}));
  fields.CutFixedWidth("abcdefghij");
  std::string value;
  ASSERT_TRUE(fields.NextValue(&value));
  EXPECT_EQ(value, "abc");
  fields.CutFixedWidth("xyz");
  ASSERT_TRUE(fields.NextValue(&value)) << "a new line rewinds the cursor";
  EXPECT_EQ(value, "xyz");
  EXPECT_EQ(fields.Values(), (Values{"xyz", ""}));
}

TEST(FixedWidthFields, AStringThatFailsLeavesNoWidthsAndCutsNothing) {
  CDelimitedFields fields;
  fields.LoadFixedSettings("T=FXD\r\nN=2\r\nL1=3\r\nL2=4");
  fields.CutFixedWidth("abcdefg");
  fields.LoadFixedSettings("T=FXD\r\nN=2\r\nL1=3\r\nL2=-4");
  EXPECT_EQ(fields.FieldHeader().ErrorCode(), 13011u);
  EXPECT_TRUE(fields.Widths().empty());
  fields.CutFixedWidth("0123456");
  EXPECT_EQ(fields.Values(), (Values{"abc", "defg"})) << "the previous line's values stay";
}

TEST(FixedWidthFields, LowerCaseCsvStringIsCutAsFixedWidth) {
  CDelimitedFields fields;
  fields.LoadFixedSettings("T=csv\r\nN=1\r\nL1=2");
  EXPECT_EQ(fields.Widths(), (Widths{2}));
  fields.LoadFixedSettings("T=CSV\r\nN=1\r\nL1=2\r\nD=,");
  EXPECT_TRUE(fields.Widths().empty()) << "an upper-case CSV string has no widths";
}

}  // namespace
