// Settings files and column header strings through the exported interface.
#include <gtest/gtest.h>

#include <string>

#include "api/write_file.h"
#include "ks_imp.h"
#include "temp_dir.h"

namespace {

std::string Read(const std::string& path) {
  char text[4096];
  EXPECT_EQ(KSIMP_ReadSettingsFile(path.c_str(), text, sizeof text), 1u);
  return text;
}

TEST(SettingsFileExports, DelimitedAndFixedLayoutsSurviveTheSettingsFile) {
  TempDir dir;
  const std::string csv = dir.file("people.ksi"), fxd = dir.file("fixed.ksi");
  ASSERT_EQ(KSIMP_WriteSettingsFile(
                csv.c_str(),
                "T=CSV\r\nN=2\r\nNA1=Name\r\nNA2=Skip\r\nP1=1\r\nP2=2\r\nD=\t;\r\nTQ='\r\nTC=0"),
            0u);
  EXPECT_EQ(Read(csv),
            "T=CSV\r\nN=2\r\nD=\t;\r\nTQ='\r\nTC=0\r\nNA1=Name\r\nP1=1\r\nNA2=Skip\r\nP2=2");
  const char* fixed = "T=FXD\r\nN=2\r\nNA1=a\r\nL1=10\r\nNA2=b\r\nL2=5";
  ASSERT_EQ(KSIMP_WriteSettingsFile(fxd.c_str(), fixed), 0u);
  EXPECT_EQ(Read(fxd), fixed);
}

TEST(SettingsFileExports, BadStringsAreRefusedWithTheirMessageAndWriteNothing) {
  TempDir dir;
  const std::string path = dir.file("bad.ksi");
  EXPECT_EQ(KSIMP_CheckColumnHeader("T=CSV\r\nN=1\r\nD=,\r\nTC=2"), 13009u);
  EXPECT_EQ(KSIMP_CheckColumnHeader("T=CSV\r\nN=1\r\nD=,"), 0u);
  EXPECT_EQ(KSIMP_WriteSettingsFile(path.c_str(), "T=XYZ\r\nN=1"), 13001u);
  // A settings file that is not there yields the defaults, which do not parse.
  const std::string missing = Read(path);
  EXPECT_EQ(KSIMP_CheckColumnHeader(missing.c_str()), 13003u) << missing;
}

// The layout the wizard proposes for a file whose first row names its
// columns: 1 and the string, or 0 and the message that says why not.
struct FirstRow {
  uint32_t copied;
  uint32_t message;
  std::string header;
};

FirstRow FromFirstRow(const std::string& path, const char* delimiters = ",", char qualifier = '"',
                      int32_t origin_ansi = 1, int32_t size = 4096) {
  std::string buffer(4096, '#');
  uint32_t message = 99;
  const uint32_t copied = KSIMP_ColumnHeaderFromFirstRow(
      path.c_str(), delimiters, qualifier, 0, origin_ansi, buffer.data(), size, &message);
  return {copied, message, copied ? std::string(buffer.c_str()) : std::string()};
}

TEST(ColumnHeaderFromFirstRow, TheFirstRowNamesTheColumnsAndImportStartsAtTheSecond) {
  TempDir dir;
  // Names are split as rows are, then trimmed and kept on one line.
  const std::string csv =
      WriteFile(dir, "a.csv", " Name ;\"Home\r\nPhone;\tFax\";City\r\nSmith;1;x\r\n");
  const FirstRow got = FromFirstRow(csv, ";,");
  ASSERT_EQ(got.copied, 1u);
  EXPECT_EQ(got.message, 0u);
  EXPECT_EQ(got.header,
            "T=CSV\r\nN=3\r\nS=2\r\nNA1=Name\r\nP1=1\r\nNA2=Home  Phone; Fax\r\nP2=2\r\n"
            "NA3=City\r\nP3=3\r\nD=;,\r\nTQ=\"\r\nTC=0\r\n");
  EXPECT_EQ(KSIMP_CheckColumnHeader(got.header.c_str()), 0u);

  // A DOS file's names are converted; a file that declares UTF-16 is decoded.
  const std::string oem = WriteFile(dir, "oem.csv",
                                    "Stra\xE1"
                                    "e,x\r\n");
  EXPECT_NE(FromFirstRow(oem, ",", '"', 0).header.find("NA1=Stra\u00DFe\r\n"), std::string::npos);
  const std::string utf16 = WriteFile(dir, "u.csv", std::string("\xFF\xFEy\0,\0z\0\r\0\n\0", 12));
  EXPECT_NE(FromFirstRow(utf16).header.find("NA1=y\r\nP1=1\r\nNA2=z\r\n"), std::string::npos);
}

TEST(ColumnHeaderFromFirstRow, WhatGivesNoNamesSaysWhy) {
  TempDir dir;
  const std::string csv = WriteFile(dir, "a.csv", "a,b\r\n");
  const std::string blank = WriteFile(dir, "blank.csv", "\r\na,b\r\n");
  EXPECT_EQ(FromFirstRow(dir.file("missing.csv")).message, 11024u);
  EXPECT_EQ(FromFirstRow(dir.path().string()).message, 11024u) << "a folder";
  EXPECT_EQ(FromFirstRow(blank).message, 11019u) << "a blank first line ends the file";
  EXPECT_EQ(FromFirstRow(csv, "").message, 13007u);
  const FirstRow small = FromFirstRow(csv, ",", '"', 1, 10);
  EXPECT_EQ(small.copied, 0u);
  EXPECT_EQ(small.message, 11001u) << "too small a buffer";
  EXPECT_EQ(KSIMP_ColumnHeaderFromFirstRow(csv.c_str(), ",", '"', 0, 1, nullptr, 100, nullptr), 0u);
}

}  // namespace
