// Settings files and column header strings through the exported interface.
#include <gtest/gtest.h>

#include <string>

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
  EXPECT_EQ(KSIMP_CheckColumnHeader("T=CSV\r\nN=0"), 13003u);
  EXPECT_EQ(KSIMP_CheckColumnHeader(""), 13012u);
  EXPECT_EQ(KSIMP_CheckColumnHeader("T=CSV\r\nN=1\r\nD=,\r\nTC=2"), 13009u);
  EXPECT_EQ(KSIMP_CheckColumnHeader("T=CSV\r\nN=1\r\nD=,"), 0u);
  EXPECT_EQ(KSIMP_WriteSettingsFile(path.c_str(), "T=XYZ\r\nN=1"), 13001u);
  // A settings file that is not there yields the defaults, which do not parse.
  const std::string missing = Read(path);
  EXPECT_EQ(KSIMP_CheckColumnHeader(missing.c_str()), 13003u) << missing;
}

}  // namespace
