// The file-type exports a host lists types and options with.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/option_mask.h"
#include "ks_imp.h"
#include "registry/default_filters.h"

namespace {

TEST(FileTypeExports, ListTheDefaultTypesInOrderWithoutAFoxProDriver) {
  const auto expected = ks::core::DefaultImportFilters({});
  ASSERT_EQ(KSIMP_GetFileTypeCount(), expected.size());
  int32_t type = 0;
  uint32_t mask = 0;
  char name[256], extensions[256], description[1024];
  for (uint32_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(KSIMP_GetFileTypeInfo(i, &type, &mask, name, sizeof name, extensions,
                                    sizeof extensions, description, sizeof description),
              1u);
    EXPECT_EQ(type, expected[i].file_type) << i;
    EXPECT_EQ(mask, expected[i].option_mask) << i;
    EXPECT_EQ(name, expected[i].name) << i;
    EXPECT_EQ(extensions, expected[i].extensions) << i;
    EXPECT_EQ(description, expected[i].description) << i;
  }
  EXPECT_EQ(KSIMP_GetFileTypeInfo(13, &type, nullptr, nullptr, 0, nullptr, 0, nullptr, 0), 0u);
}

TEST(FileTypeExports, TextsFollowTheStrictBufferRule) {
  const std::string expected = ks::core::DefaultImportFilters({})[0].name;
  char name[64];
  std::memset(name, 'x', sizeof name);
  const int32_t exact = static_cast<int32_t>(expected.size()) + 1;
  EXPECT_EQ(KSIMP_GetFileTypeInfo(0, nullptr, nullptr, name, exact, nullptr, 0, nullptr, 0), 0u);
  EXPECT_EQ(name[0], 'x') << "a refused buffer is left untouched";
  EXPECT_EQ(KSIMP_GetFileTypeInfo(0, nullptr, nullptr, name, exact + 1, nullptr, 0, nullptr, 0),
            1u);
  EXPECT_EQ(name, expected);
}

// The masks, labels and captions themselves are checked where they are
// defined; here, that the exports hand them out.
TEST(FileTypeExports, OptionMasksLabelsAndCaptions) {
  for (const auto& filter : ks::core::DefaultImportFilters({})) {
    EXPECT_EQ(KSIMP_GetFileTypeOptionMask(filter.file_type), filter.option_mask) << filter.name;
  }
  EXPECT_EQ(KSIMP_GetFileTypeOptionMask(9999), 0xFFFu)
      << "types outside the list keep every option";
  char text[128];
  for (const auto option : ks::core::kOptionsInMaskOrder) {
    ASSERT_EQ(KSIMP_GetOptionLabel(static_cast<uint32_t>(option), text, sizeof text), 1u);
    EXPECT_EQ(text, ks::core::OptionRowLabel(option));
  }
  EXPECT_EQ(KSIMP_GetOptionLabel(3, text, sizeof text), 0u);
  ASSERT_EQ(KSIMP_GetMessageCaption(14045, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Cannot Set Save Attachments");
  ASSERT_EQ(KSIMP_GetMessageCaption(14053, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Cannot Set Document Delimiter");
  EXPECT_EQ(KSIMP_GetMessageCaption(98, text, sizeof text), 0u);
}

}  // namespace
