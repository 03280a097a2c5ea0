// Message date patterns by date-format code: every pair of codes, the
// separator, the low-byte rule and the fallback.
#include "api/date_pattern.h"

#include <gtest/gtest.h>

namespace {

TEST(DatePattern, EveryPairOfCodesGivesItsPattern) {
  const char* const expected[] = {
      "%m/%d/%y", "%d/%m/%y",  "%y/%m/%d",  "%m/%d/%Y",  "%d/%m/%Y",
      "%Y/%m/%d", "%b %d, %Y", "%d %b %y",  "&d &b &Y",  "%B %d, %Y",
      "%d %B %Y", "%B %d. %Y", "%b %d. %Y", "%d. %b %Y", "%d. %B %Y",
  };
  for (uint32_t code = 0; code < 30; ++code) {
    EXPECT_EQ(DatePattern(code, "/"), expected[code / 2]) << "code " << code;
  }
}

TEST(DatePattern, SeparatorLowByteAndFallbackRules) {
  EXPECT_EQ(DatePattern(10, " - "), "%Y - %m - %d");
  EXPECT_EQ(DatePattern(0, ""), "%m%d%y");
  EXPECT_EQ(DatePattern(12, "-"), "%b %d, %Y") << "named formats ignore the separator";
  EXPECT_EQ(DatePattern(0x100 + 18, "."), "%B %d, %Y") << "only the low byte counts";
  EXPECT_EQ(DatePattern(30, "-"), "%m-%d-%y") << "unlisted codes use the first pattern";
  EXPECT_EQ(DatePattern(255, "-"), "%m-%d-%y");
}

}  // namespace
