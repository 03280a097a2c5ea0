// The file-type exports a host lists types and options with.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

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
  const char* expected = "Text (*.txt)";
  char name[64];
  std::memset(name, 'x', sizeof name);
  const int32_t exact = static_cast<int32_t>(std::strlen(expected)) + 1;
  EXPECT_EQ(KSIMP_GetFileTypeInfo(0, nullptr, nullptr, name, exact, nullptr, 0, nullptr, 0), 0u);
  EXPECT_EQ(name[0], 'x') << "a refused buffer is left untouched";
  EXPECT_EQ(KSIMP_GetFileTypeInfo(0, nullptr, nullptr, name, exact + 1, nullptr, 0, nullptr, 0),
            1u);
  EXPECT_STREQ(name, expected);
}

TEST(FileTypeExports, OptionMasksLabelsAndCaptions) {
  EXPECT_EQ(KSIMP_GetFileTypeOptionMask(1000), 1151u);
  EXPECT_EQ(KSIMP_GetFileTypeOptionMask(1061), 1130u);
  EXPECT_EQ(KSIMP_GetFileTypeOptionMask(9999), 0xFFFu)
      << "types outside the list keep every option";
  char text[128];
  ASSERT_EQ(KSIMP_GetOptionLabel(KSIMP_OPT_SAVE_ATTACHMENTS, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Save Attachments");
  ASSERT_EQ(KSIMP_GetOptionLabel(KSIMP_OPT_ENTRY_FORM, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Import into Entry Form");
  EXPECT_EQ(KSIMP_GetOptionLabel(3, text, sizeof text), 0u);
  ASSERT_EQ(KSIMP_GetMessageCaption(14045, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Cannot Set Save Attachments");
  ASSERT_EQ(KSIMP_GetMessageCaption(14053, text, sizeof text), 1u);
  EXPECT_STREQ(text, "Cannot Set Document Delimiter");
  EXPECT_EQ(KSIMP_GetMessageCaption(98, text, sizeof text), 0u);
}

}  // namespace
