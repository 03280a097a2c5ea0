#include "core/profile_file.h"

#include <gtest/gtest.h>

namespace ks::core {
namespace {

TEST(ProfileFile, SectionsAndKeysMatchWithoutRegardToCase) {
  auto file =
      ProfileFile::Parse("[Field Header]\r\nColumns=3\r\n", ProfileFile::Strictness::kStrict);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->Get("field header", "COLUMNS"), "3");
  file->Set("FIELD HEADER", "columns", "4");
  EXPECT_EQ(file->Serialize(), "[Field Header]\r\nColumns=4\r\n");
  // The first occurrence of a key wins and spaces around are trimmed.
  file = ProfileFile::Parse("[s]\n k = one \nK=two\n", ProfileFile::Strictness::kLenient);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->Get("s", "k"), "one");
  EXPECT_EQ(file->Keys("s").size(), 1u);
}

TEST(ProfileFile, LenientSkipsJunkWhereStrictRefusesWithTheLine) {
  const char* text = "[s]\na=1\nthis is not a setting\nb=2\n";
  auto lenient = ProfileFile::Parse(text, ProfileFile::Strictness::kLenient);
  ASSERT_TRUE(lenient);
  EXPECT_EQ(lenient->Get("s", "b"), "2");

  ProfileFile::ParseError error;
  EXPECT_FALSE(ProfileFile::Parse(text, ProfileFile::Strictness::kStrict, &error));
  EXPECT_EQ(error.line, 3);
  EXPECT_EQ(error.text, "this is not a setting");
  // A key before any section is junk too.
  EXPECT_FALSE(ProfileFile::Parse("a=1\n", ProfileFile::Strictness::kStrict));
}

TEST(ProfileFile, RoundTripKeepsOrderAndValuesWithEqualsSigns) {
  ProfileFile file = *ProfileFile::Parse("", ProfileFile::Strictness::kStrict);
  file.Set("Second", "x", "a=b");
  file.Set("First", "y", "");
  file.Set("Second", "z", "3");
  EXPECT_TRUE(file.Remove("second", "Z"));
  EXPECT_FALSE(file.Remove("second", "z"));
  auto again = ProfileFile::Parse(file.Serialize(), ProfileFile::Strictness::kStrict);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->Get("Second", "x"), "a=b");
  EXPECT_EQ(again->Get("First", "y"), "");
  EXPECT_FALSE(again->Get("Second", "z"));
  EXPECT_EQ(again->Serialize(), file.Serialize());
  // Keys after a removed one are still found and updated in place.
  file.Set("First", "w", "1");
  EXPECT_TRUE(file.Remove("first", "Y"));
  EXPECT_EQ(file.Get("First", "w"), "1");
  file.Set("first", "W", "two");
  EXPECT_EQ(file.Serialize(), "[Second]\r\nx=a=b\r\n\r\n[First]\r\nw=two\r\n");
}

TEST(ProfileFile, ManyThousandKeysReadBack) {
  std::string text = "[Header Section]\n";
  for (int i = 1; i <= 50000; ++i)
    text += "header" + std::to_string(i) + "=n" + std::to_string(i) + "\n";
  auto file = ProfileFile::Parse(text, ProfileFile::Strictness::kStrict);
  ASSERT_TRUE(file);
  for (int i = 1; i <= 50000; ++i) {
    ASSERT_EQ(file->Get("header section", "HEADER" + std::to_string(i)), "n" + std::to_string(i));
  }
}

}  // namespace
}  // namespace ks::core
