// Finding what is installed: the FoxPro ODBC driver in the system's ODBC
// configuration and the external filter program through the configuration.
#include "core/installed_helpers.h"

#include <gtest/gtest.h>

#include <fstream>

#include "scoped_env.h"
#include "temp_dir.h"

namespace ks::core {
namespace {

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

const char kVisualFoxProIni[] =
    "[PostgreSQL]\nDriver=/usr/lib/psqlodbcw.so\n\n[Visual FoxPro]\nDriver=/usr/lib/vfp.so\n";
const char kOlderFoxProIni[] = "[Micosoft FoxPro]\r\nDriver=/usr/lib/fox.so\r\n";
const char kNoFoxProIni[] = "[PostgreSQL]\nDriver=/usr/lib/psqlodbcw.so\n";

TEST(FindFoxProDriver, NoOdbcFilesMeansNoDriver) {
  TempDir odbc;
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kNone);
}

TEST(FindFoxProDriver, FindsVisualFoxProInOdbcIni) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbc.ini", kVisualFoxProIni);
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kVisualFoxPro);
}

TEST(FindFoxProDriver, FindsTheOlderDriverUnderItsOwnSpelling) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbcinst.ini", kOlderFoxProIni);
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kFoxPro);
}

TEST(FindFoxProDriver, CorrectlySpeltOlderNameIsNotTheDriver) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbcinst.ini", "[Microsoft FoxPro]\nDriver=x\n");
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kNone);
}

TEST(FindFoxProDriver, VisualFoxProWinsWhenBothAreListed) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbcinst.ini", std::string(kOlderFoxProIni) + kVisualFoxProIni);
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kVisualFoxPro);
}

TEST(FindFoxProDriver, OdbcinstIniIsReadOnlyWhenOdbcIniDoesNotExist) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbc.ini", kNoFoxProIni);
  WriteFile(odbc.path() / "odbcinst.ini", kVisualFoxProIni);
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kNone);
}

TEST(FindFoxProDriver, OddLinesInAnOdbcFileAreSkipped) {
  TempDir odbc;
  WriteFile(odbc.path() / "odbcinst.ini", std::string("stray line\n") + kVisualFoxProIni);
  EXPECT_EQ(FindFoxProDriver(odbc.path()), FoxProDriver::kVisualFoxPro);
}

TEST(OdbcConfigFolder, FollowsOdbcsysini) {
  ScopedEnv env("ODBCSYSINI", "/some/odbc");
  EXPECT_EQ(OdbcConfigFolder(), std::filesystem::path("/some/odbc"));
}

TEST(FilterProgramInstalled, NeedsTheProgramFileInTheRecordedFolder) {
  TempDir folder;
  ProfileFile configuration = *ProfileFile::Parse("", ProfileFile::Strictness::kStrict);
  EXPECT_FALSE(FilterProgramInstalled(configuration));

  configuration.Set("SOFTWARE\\Crystal Software\\TextPipe", "Path", folder.path().string());
  EXPECT_FALSE(FilterProgramInstalled(configuration));

  WriteFile(folder.path() / "TextPipe.exe", "");
  EXPECT_TRUE(FilterProgramInstalled(configuration));
}

}  // namespace
}  // namespace ks::core
