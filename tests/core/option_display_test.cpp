// What the import dialog shows for each option's value.
#include "core/option_display.h"

#include <gtest/gtest.h>

namespace ks::core {
namespace {

TEST(ImportLocationText, EachKnownCodeShowsItsPlace) {
  EXPECT_EQ(ImportLocationText(1, ""), "End of File");
  EXPECT_EQ(ImportLocationText(2, ""), "After Current Document");
  EXPECT_EQ(ImportLocationText(3, "Minutes"), "After Document: Minutes");
  EXPECT_EQ(ImportLocationText(4, ""), "End of Current Document");
  EXPECT_EQ(ImportLocationText(6, ""), "Top of file");
}

TEST(ImportLocationText, CodeFiveAndUnknownCodesShowEndOfFile) {
  for (const int32_t code : {5, 0, -1, 7, 1000}) {
    EXPECT_EQ(ImportLocationText(code, "Minutes"), "End of File") << "code " << code;
  }
}

TEST(DocumentDelimiterText, EachSingleBitShowsItsKind) {
  EXPECT_EQ(DocumentDelimiterText(0, 0), "None");
  EXPECT_EQ(DocumentDelimiterText(2, 0), "Page Break");
  EXPECT_EQ(DocumentDelimiterText(1, 0), "Blank Line");
  EXPECT_EQ(DocumentDelimiterText(4, 25), "Every 25 lines");
  EXPECT_EQ(DocumentDelimiterText(8, 0), "String");
}

TEST(DocumentDelimiterText, SeveralBitsShowTheFirstInPageBreakBlankLineLinesStringOrder) {
  EXPECT_EQ(DocumentDelimiterText(3, 0), "Page Break");
  EXPECT_EQ(DocumentDelimiterText(1 | 4 | 8, 10), "Blank Line");
  EXPECT_EQ(DocumentDelimiterText(4 | 8, 10), "Every 10 lines");
  EXPECT_EQ(DocumentDelimiterText(15, 10), "Page Break");
}

TEST(DocumentDelimiterText, BitsThatAreNoDelimiterShowNone) {
  EXPECT_EQ(DocumentDelimiterText(16, 0), "None");
}

TEST(OptionValueText, TwoValuedOptionsShowTheirChoices) {
  EXPECT_EQ(FileOriginText(true), "Windows (ANSI)");
  EXPECT_EQ(FileOriginText(false), "DOS (OEM)");
  EXPECT_EQ(YesNoText(true), "Yes");
  EXPECT_EQ(YesNoText(false), "No");
  EXPECT_EQ(SortOrderText(SortOrder::kAscending), "Ascending");
  EXPECT_EQ(SortOrderText(SortOrder::kDescending), "Descending");
  EXPECT_EQ(EntryFormText(false, "Contacts"), "No");
  EXPECT_EQ(EntryFormText(true, "Contacts"), "Contacts");
}

TEST(OptionValueText, ChoiceListsEndEachChoiceWithALineFeed) {
  EXPECT_EQ(kFileOriginChoices, "Windows (ANSI)\nDOS (OEM)\n");
  EXPECT_EQ(kYesNoChoices, "Yes\nNo\n");
  EXPECT_EQ(kSortOrderChoices, "Ascending\nDescending\n");
}

}  // namespace
}  // namespace ks::core
