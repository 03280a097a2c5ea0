// Finding what is installed: the FoxPro ODBC driver in the system's ODBC
// configuration and the external filter program through the configuration.
// That ODBCSYSINI names the ODBC folder shows in import_filters_test.cpp.
#include "core/installed_helpers.h"

#include <gtest/gtest.h>

#include <optional>

#include "api/write_file.h"

namespace ks::core {
namespace {

const char kVisualFoxProIni[] =
    "[PostgreSQL]\nDriver=/usr/lib/psqlodbcw.so\n\n[Visual FoxPro]\nDriver=/usr/lib/vfp.so\n";
const char kOlderFoxProIni[] = "[Micosoft FoxPro]\r\nDriver=/usr/lib/fox.so\r\n";
const char kNoFoxProIni[] = "[PostgreSQL]\nDriver=/usr/lib/psqlodbcw.so\n";

TEST(FindFoxProDriver, DriverIsFoundByItsSectionInTheOdbcFiles) {
  const std::string vfp = kVisualFoxProIni, older = kOlderFoxProIni;
  const struct {
    const char* what;
    std::optional<std::string> odbc_ini, odbcinst_ini;
    FoxProDriver driver;
  } cases[] = {
      {"no ODBC files", {}, {}, FoxProDriver::kNone},
      {"Visual FoxPro in odbc.ini", vfp, {}, FoxProDriver::kVisualFoxPro},
      {"the older driver under its own spelling", {}, older, FoxProDriver::kFoxPro},
      {"a correctly spelt older name", {}, "[Microsoft FoxPro]\nDriver=x\n", FoxProDriver::kNone},
      {"Visual FoxPro wins over the older", {}, older + vfp, FoxProDriver::kVisualFoxPro},
      {"odbcinst.ini only without odbc.ini", kNoFoxProIni, vfp, FoxProDriver::kNone},
      {"odd lines are skipped", {}, "stray line\n" + vfp, FoxProDriver::kVisualFoxPro},
  };
  for (const auto& c : cases) {
    TempDir odbc;
    if (c.odbc_ini) WriteFile(odbc.path() / "odbc.ini", *c.odbc_ini);
    if (c.odbcinst_ini) WriteFile(odbc.path() / "odbcinst.ini", *c.odbcinst_ini);
    EXPECT_EQ(FindFoxProDriver(odbc.path()), c.driver) << c.what;
  }
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
