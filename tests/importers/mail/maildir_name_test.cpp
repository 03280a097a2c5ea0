// The names of Maildir message files: what they tell (unique name, second of
// delivery, flags) and the delivery order they give.
#include "importers/mail/maildir_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

TEST(MaildirName, SplitsTheUniqueNameFromTheFlagsWhateverStandsForTheColon) {
  for (const std::string& separator : {std::string(":"), std::string("!"), std::string(";")}) {
    const std::string file = "1220863087.12663_15.mindcrime" + separator + "2,PS";
    const std::optional<MaildirName> name = ParseMaildirName(file);
    ASSERT_TRUE(name) << file;
    EXPECT_EQ(name->unique, "1220863087.12663_15.mindcrime") << file;
    EXPECT_EQ(name->delivered, 1220863087u) << file;
    EXPECT_TRUE(name->has_info) << file;
    EXPECT_EQ(name->flags, "PS") << file;
    EXPECT_TRUE(name->HasFlag('S'));
    EXPECT_FALSE(name->HasFlag('T'));
  }
}

TEST(MaildirName, NamesOfNewMessagesAndOfFilesPutThereByHand) {
  const std::optional<MaildirName> fresh = ParseMaildirName("1220863087.12663_21.mindcrime");
  ASSERT_TRUE(fresh);
  EXPECT_FALSE(fresh->has_info);
  EXPECT_EQ(fresh->unique, "1220863087.12663_21.mindcrime");
  EXPECT_TRUE(fresh->flags.empty());

  // No time at its start: the caller dates it by the file.
  const std::optional<MaildirName> by_hand = ParseMaildirName("multimime!2,FS");
  ASSERT_TRUE(by_hand);
  EXPECT_EQ(by_hand->unique, "multimime");
  EXPECT_FALSE(by_hand->delivered);
  EXPECT_EQ(by_hand->flags, "FS");

  // Time parts written with "_" rather than ".", and empty flag lists.
  const std::optional<MaildirName> underscored = ParseMaildirName("1252168370_3.14675.cthulhu!2,");
  ASSERT_TRUE(underscored);
  EXPECT_EQ(underscored->delivered, 1252168370u);
  EXPECT_TRUE(underscored->has_info);
  EXPECT_TRUE(underscored->flags.empty());

  // A "!" that does not begin an info part stays in the unique name.
  const std::optional<MaildirName> bang = ParseMaildirName("123.a!b.host");
  ASSERT_TRUE(bang);
  EXPECT_EQ(bang->unique, "123.a!b.host");
  EXPECT_FALSE(bang->has_info);
}

TEST(MaildirName, RefusesWhatIsNoMessageNameAndTimesPast64Bits) {
  for (const std::string& file :
       {std::string(), std::string(".hidden"), std::string(".."), std::string(":2,S"),
        std::string("a/b"), std::string("a\0b", 3)}) {
    EXPECT_FALSE(ParseMaildirName(file)) << file;
  }
  const std::optional<MaildirName> huge = ParseMaildirName("99999999999999999999999.x.host");
  ASSERT_TRUE(huge);
  EXPECT_FALSE(huge->delivered) << "a time that does not fit is no time";
  EXPECT_EQ(ParseMaildirName("18446744073709551615.x")->delivered, UINT64_MAX);
}

TEST(MaildirName, NamesCompareWithTheirNumbersAsNumbers) {
  EXPECT_LT(CompareNamesNaturally("12663_5.host", "12663_15.host"), 0);
  EXPECT_GT(CompareNamesNaturally("12663_15.host", "12663_5.host"), 0);
  EXPECT_EQ(CompareNamesNaturally("a1b", "a1b"), 0);
  EXPECT_LT(CompareNamesNaturally("a1", "a1b"), 0);
  EXPECT_LT(CompareNamesNaturally("M000123P1", "M123456P1"), 0);
  // Equal numbers written differently still differ, so sorting is total.
  EXPECT_NE(CompareNamesNaturally("x01", "x1"), 0);
  EXPECT_EQ(CompareNamesNaturally("x01", "x1"), -CompareNamesNaturally("x1", "x01"));
  // Numbers too long for any integer type.
  EXPECT_LT(CompareNamesNaturally("n99999999999999999999998", "n99999999999999999999999"), 0);
}

TEST(MaildirName, DeliveryOrderIsBySecondThenByTheAgentsCount) {
  std::vector<DeliveryKey> keys = {
      {1220863087, "1220863087.12663_15.mindcrime"},
      {1220863042, "1220863042.12663_1.mindcrime"},
      {1220863087, "1220863087.12663_5.mindcrime"},
      {1220863087, "1220863087.12663_19.mindcrime"},
      {1252168370, "encrypted"},  // dated by its file
  };
  std::sort(keys.begin(), keys.end(), DeliveredBefore);
  std::vector<std::string_view> order;
  for (const DeliveryKey& key : keys) order.push_back(key.unique);
  EXPECT_EQ(order,
            (std::vector<std::string_view>{
                "1220863042.12663_1.mindcrime", "1220863087.12663_5.mindcrime",
                "1220863087.12663_15.mindcrime", "1220863087.12663_19.mindcrime", "encrypted"}));
}

}  // namespace
