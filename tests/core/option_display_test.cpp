// What the import dialog shows for each option's value.
#include "core/option_display.h"

#include <gtest/gtest.h>

namespace ks::core {
namespace {

TEST(ImportLocationText, EachKnownCodeShowsItsPlaceAndEveryOtherEndOfFile) {
  EXPECT_EQ(ImportLocationText(1, ""), "End of File");
  EXPECT_EQ(ImportLocationText(2, ""), "After Current Document");
  EXPECT_EQ(ImportLocationText(3, "Minutes"), "After Document: Minutes");
  EXPECT_EQ(ImportLocationText(4, ""), "End of Current Document");
  EXPECT_EQ(ImportLocationText(6, ""), "Top of file");
  for (const int32_t code : {5, 0, -1, 7, 1000}) {
    EXPECT_EQ(ImportLocationText(code, "Minutes"), "End of File") << "code " << code;
  }
}

TEST(DocumentDelimiterText, FirstBitInPageBreakBlankLineLinesStringOrderShowsItsKind) {
  EXPECT_EQ(DocumentDelimiterText(0, 0), "None");
  EXPECT_EQ(DocumentDelimiterText(2, 0), "Page Break");
  EXPECT_EQ(DocumentDelimiterText(1, 0), "Blank Line");
  EXPECT_EQ(DocumentDelimiterText(4, 25), "Every 25 lines");
  EXPECT_EQ(DocumentDelimiterText(8, 0), "String");
  EXPECT_EQ(DocumentDelimiterText(3, 0), "Page Break");
  EXPECT_EQ(DocumentDelimiterText(1 | 4 | 8, 10), "Blank Line");
  EXPECT_EQ(DocumentDelimiterText(4 | 8, 10), "Every 10 lines");
  EXPECT_EQ(DocumentDelimiterText(15, 10), "Page Break");
  EXPECT_EQ(DocumentDelimiterText(16, 0), "None") << "bits that are no delimiter";
}

TEST(OptionValueText, TwoValuedRowsShowTheirChoiceListsTextsInOrderAndEntryFormItsName) {
  EXPECT_EQ(EntryFormText(false, "Contacts"), "No");
  EXPECT_EQ(EntryFormText(true, "Contacts"), "Contacts");
  // A row shows the first choice of its list for true (ascending), the
  // second for false, and each choice ends with a line feed.
  const auto choices = [](std::string_view first, std::string_view second) {
    return std::string(first) + "\n" + std::string(second) + "\n";
  };
  EXPECT_EQ(kFileOriginChoices, choices(FileOriginText(true), FileOriginText(false)));
  EXPECT_EQ(kYesNoChoices, choices(YesNoText(true), YesNoText(false)));
  EXPECT_EQ(kSortOrderChoices,
            choices(SortOrderText(SortOrder::kAscending), SortOrderText(SortOrder::kDescending)));
}

}  // namespace
}  // namespace ks::core
