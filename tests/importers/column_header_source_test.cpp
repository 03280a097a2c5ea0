// How a queued delimited or fixed-width record names its column header
// string: not at all, as the string itself, or as a settings file path
// (given, or the one beside the source).  The importers' own tests show the
// settings at work.
#include "importers/text/column_header_source.h"

#include <gtest/gtest.h>

#include "api/write_file.h"

namespace {

using ks::text::FindStoredColumnHeader;
using ks::text::SettingsPathBeside;

SETDATA Record(const std::string& source, int32_t use_stored_settings, const std::string& where) {
  SETDATA record;
  record.file_name = source;
  record.file_type = 1004;
  record.use_stored_settings = use_stored_settings;
  record.date_from = where;
  return record;
}

TEST(SettingsPathBeside, ReplacesOrAddsTheExtension) {
  EXPECT_EQ(SettingsPathBeside("/data/orders.csv"), "/data/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data/orders"), "/data/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data.v2/orders"), "/data.v2/orders.ksi");
  EXPECT_EQ(SettingsPathBeside("/data/orders.2024.txt"), "/data/orders.2024.ksi");
}

TEST(FindStoredColumnHeader, TheRecordSaysWhereTheSettingsAre) {
  TempDir dir;
  const std::string ksi = WriteFile(dir, "fixed.ksi",
                                    "[Type Section]\r\ntype=FXD\r\nNumberOfFields=1\r\n"
                                    "[Header Section]\r\nheader1=A\r\n"
                                    "[Fixed Field Section]\r\nfield1=4\r\n");
  const std::string source = dir.file("fixed.txt");

  // Not asked for: nothing, whatever the date-from text holds.
  EXPECT_TRUE(FindStoredColumnHeader(Record(source, 0, ksi)).text.empty());

  const auto given = FindStoredColumnHeader(Record(source, 1, "T=CSV\nN=1"));
  EXPECT_EQ(given.text, "T=CSV\nN=1");
  EXPECT_TRUE(given.settings_path.empty());

  for (const std::string& where : {ksi, std::string()}) {
    const auto read = FindStoredColumnHeader(Record(source, 1, where));
    EXPECT_EQ(read.text, "T=FXD\r\nN=1\r\nNA1=A\r\nL1=4") << where;
    EXPECT_EQ(read.settings_path, ksi);
    EXPECT_TRUE(read.problem.empty()) << read.problem;
  }
}

TEST(FindStoredColumnHeader, UnreadableSettingsGiveNoStringAndSayWhy) {
  TempDir dir;
  const auto missing = FindStoredColumnHeader(Record(dir.file("a.csv"), 1, ""));
  EXPECT_TRUE(missing.text.empty());
  EXPECT_EQ(missing.problem, "The file " + dir.file("a.ksi") + ", could not be located.");

  const auto folder = FindStoredColumnHeader(Record(dir.file("a.csv"), 1, dir.path().string()));
  EXPECT_TRUE(folder.text.empty());
  EXPECT_EQ(folder.problem, dir.path().string() + " is a folder, not a file.");
}

}  // namespace
