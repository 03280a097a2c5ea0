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

TEST(FixedWidthCut, LinesAreCutAtTheWidthsInOrder) {
  const struct {
    const char* name;
    std::string_view line;
    Widths widths;
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

}  // namespace
