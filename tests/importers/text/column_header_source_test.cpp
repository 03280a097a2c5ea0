// How a queued delimited or fixed-width record names its column header
// string: not at all, as the string itself, or as a settings file path
// (given, or the one beside the source).  The importers' own tests show the
// settings at work.
#include "importers/text/column_header_source.h"

#include <gtest/gtest.h>

#include "temp_dir.h"

namespace {

using ks::text::FindStoredColumnHeader;
using ks::text::SettingsPathBeside;

TEST(SettingsPathBeside, ReplacesOrAddsTheExtension) {
  EXPECT_EQ(SettingsPathBeside("/data/orders.csv"), "/data/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data/orders"), "/data/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data.v2/orders"), "/data.v2/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data/orders.2024.txt"), "/data/orders.2024.ksi");
}

// Where the settings are read from, and a missing settings file, show in the
// imports' own tests; a folder in its place is said to be one.
TEST(FindStoredColumnHeader, AFolderGivesNoStringAndSaysWhy) {
  TempDir dir;
  SETDATA record;
  record.file_name = dir.file("a.csv");
  record.file_type = 1004;
  record.use_stored_settings = 1;
  record.date_from = dir.path().string();
  const auto folder = FindStoredColumnHeader(record);
  EXPECT_TRUE(folder.text.empty());
  EXPECT_EQ(folder.problem, dir.path().string() + " is a folder, not a file.");
}

}  // namespace
