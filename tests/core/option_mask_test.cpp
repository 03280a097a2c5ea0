// The option mask: which bit offers which row, and the rows' labels.
#include "core/option_mask.h"

#include <gtest/gtest.h>

namespace ks::core {
namespace {

TEST(OptionMask, EveryKnownBitOffersItsRowWithItsLabelInBitOrderAndOtherBitsNothing) {
  EXPECT_EQ(OfferedOptionLabels(4095),
            (std::vector<std::string_view>{
                "File Origin", "Import Location", "Document Delimiter", "Import into Entry Form",
                "Auto Field Recognition", "Date Range", "Sort Order", "Use Stored Settings",
                "Message Date Range", "Full Header", "Save Attachments", "Use Filter"}));
  EXPECT_TRUE(OfferedOptions(0).empty());
  EXPECT_TRUE(OfferedOptions(0xFFFFF000u).empty());
  EXPECT_EQ(OfferedOptions(4096 | 2), std::vector<ImportOption>{ImportOption::kImportLocation});
}

}  // namespace
}  // namespace ks::core
