// The names of Maildir message files: what they tell (unique name, second of
// delivery, flags) and the delivery order they give.
#include "importers/mail/maildir_name.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

// The parts of a file name as "unique | second | info part or not | flags",
// "-" for no second; "refused" when it is no message name.
std::string Parts(std::string_view file) {
  const std::optional<MaildirName> name = ParseMaildirName(file);
  if (!name) return "refused";
  const std::string delivered = name->delivered ? std::to_string(*name->delivered) : "-";
  return std::string(name->unique) + " | " + delivered + " | " +
         (name->has_info ? "info" : "no info") + " | " + std::string(name->flags);
}

TEST(MaildirName, SplitsTheUniqueNameTheSecondOfDeliveryAndTheFlags) {
  const std::pair<std::string, std::string> cases[] = {
      // Whatever stands for the colon.
      {"1220863087.12663_15.mindcrime:2,PS",
       "1220863087.12663_15.mindcrime | 1220863087 | info | PS"},
      {"1220863087.12663_15.mindcrime!2,PS",
       "1220863087.12663_15.mindcrime | 1220863087 | info | PS"},
      {"1220863087.12663_15.mindcrime;2,PS",
       "1220863087.12663_15.mindcrime | 1220863087 | info | PS"},
      // A new message has no info part yet.
      {"1220863087.12663_21.mindcrime", "1220863087.12663_21.mindcrime | 1220863087 | no info | "},
      // No time at its start (put there by hand): the caller dates it by the file.
      {"multimime!2,FS", "multimime | - | info | FS"},
      // Time parts written with "_" rather than ".", and empty flag lists.
      {"1252168370_3.14675.cthulhu!2,", "1252168370_3.14675.cthulhu | 1252168370 | info | "},
      // A "!" that does not begin an info part stays in the unique name.
      {"123.a!b.host", "123.a!b.host | 123 | no info | "},
      // A time that does not fit 64 bits is no time.
      {"99999999999999999999999.x.host", "99999999999999999999999.x.host | - | no info | "},
      {"18446744073709551615.x", "18446744073709551615.x | 18446744073709551615 | no info | "},
      {"", "refused"},
      {".hidden", "refused"},
      {"..", "refused"},
      {":2,S", "refused"},
      {"a/b", "refused"},
      {std::string("a\0b", 3), "refused"},
  };
  for (const auto& [file, parts] : cases) {
    EXPECT_EQ(Parts(file), parts) << file;
  }
  EXPECT_TRUE(ParseMaildirName("1.x:2,PS")->HasFlag('S'));
  EXPECT_FALSE(ParseMaildirName("1.x:2,PS")->HasFlag('T'));
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

// Delivery order (by second, then by the names compared as above): the
// import in MaildirImportTest.MessagesComeInDeliveryOrderWhateverTheirFolderAndFlags.

}  // namespace
