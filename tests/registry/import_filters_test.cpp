// The file-type list kept in the configuration: built for what is
// installed, kept, read back, and never silently replaced when the
// configuration is damaged.  Also the per-database "FilterString".
#include "registry/import_filters.h"

#include <gtest/gtest.h>

#include "api/write_file.h"
#include "core/database_import_settings.h"
#include "core/filter_list_store.h"
#include "core/scoped_env.h"
#include "registry/default_filters.h"

namespace ks::core {
namespace {

// Points the configuration and the ODBC folder at temporary folders, so that
// no test sees or changes the user's own settings or the system's drivers.
class ImportFiltersTest : public testing::Test {
 protected:
  TempDir config_dir_;
  TempDir odbc_dir_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_dir_.path().string()};
  ScopedEnv odbc_env_{"ODBCSYSINI", odbc_dir_.path().string()};

  std::filesystem::path ConfigFile() const { return ConfigStore::DefaultPath(); }
};

TEST_F(ImportFiltersTest, BuildKeepsTheListForLaterSessionsAndAShorterOneReplacesItCompletely) {
  const auto odbcinst = odbc_dir_.path() / "odbcinst.ini";
  WriteFile(odbcinst, "[Visual FoxPro]\nDriver=vfp.so\n");
  const CImportFilters built = CImportFilters::Build();
  ASSERT_EQ(built.filters().size(), 14u);
  EXPECT_EQ(ConfigFile().parent_path(), config_dir_.path());
  EXPECT_EQ(CImportFilters::ReadKept().filters(), built.filters());
  EXPECT_EQ(ConfigStore::Load(ConfigFile()).values().Get(kFiltersKey, "NumFilters"), "14");

  std::filesystem::remove(odbcinst);
  const CImportFilters rebuilt = CImportFilters::Build();
  ASSERT_EQ(rebuilt.filters().size(), 13u);
  EXPECT_EQ(CImportFilters::ReadKept().filters(), rebuilt.filters());
  EXPECT_FALSE(ConfigStore::Load(ConfigFile())
                   .values()
                   .Get(std::string(kFiltersKey) + "\\Filter14", "FileType"));
}

TEST_F(ImportFiltersTest, FilterProgramFolderInTheConfigurationAddsUseFilter) {
  TempDir program_dir;
  WriteFile(program_dir.path() / "TextPipe.exe", "");
  WriteFile(ConfigFile(),
            "[SOFTWARE\\Crystal Software\\TextPipe]\nPath=" + program_dir.path().string() + "\n");
  EXPECT_EQ(CImportFilters::Build().filters(), DefaultImportFilters({true, FoxProDriver::kNone}));
  // The rest of the configuration is kept beside the list.
  EXPECT_EQ(
      ConfigStore::Load(ConfigFile()).values().Get("SOFTWARE\\Crystal Software\\TextPipe", "Path"),
      program_dir.path().string());
}

TEST_F(ImportFiltersTest, DamagedConfigurationIsReportedAndNotOverwritten) {
  const std::string damaged = "[SOFTWARE\\Kestro\\Windows\\5.0\\Kestro]\nthis is not a value\n";
  WriteFile(ConfigFile(), damaged);
  try {
    CImportFilters::Build();
    FAIL() << "a damaged configuration was accepted";
  } catch (const ConfigError& e) {
    EXPECT_NE(std::string(e.what()).find("damaged"), std::string::npos) << e.what();
    EXPECT_NE(std::string(e.what()).find(ConfigFile().string()), std::string::npos) << e.what();
  }
  EXPECT_EQ(ReadFile(ConfigFile()), damaged);
  EXPECT_THROW(CImportFilters::ReadKept(), ConfigError);
}

TEST_F(ImportFiltersTest, DamagedKeptListNamesTheEntryAndValue) {
  CImportFilters::Build();
  ConfigStore store = ConfigStore::Load(ConfigFile());
  store.values().Set(std::string(kFiltersKey) + "\\Filter3", "OptionMask", "lots");
  store.Save();
  try {
    CImportFilters::ReadKept();
    FAIL() << "a damaged filter list was accepted";
  } catch (const ConfigError& e) {
    const std::string what = e.what();
    EXPECT_NE(what.find("Filter3"), std::string::npos) << what;
    EXPECT_NE(what.find("OptionMask"), std::string::npos) << what;
    EXPECT_NE(what.find("lots"), std::string::npos) << what;
  }
}

TEST_F(ImportFiltersTest, NothingKeptReadsAsAnEmptyListButAMissingEntryIsReported) {
  EXPECT_TRUE(CImportFilters::ReadKept().filters().empty());
  ConfigStore store = ConfigStore::Load(ConfigFile());
  store.values().Set(kFiltersKey, "NumFilters", "2");
  store.Save();
  EXPECT_THROW(CImportFilters::ReadKept(), ConfigError);
}

TEST(FilterListStore, TextWithALineBreakIsRefused) {
  ProfileFile configuration = *ProfileFile::Parse("", ProfileFile::Strictness::kStrict);
  ImportFilter filter;
  filter.name = "two\nlines";
  EXPECT_THROW(StoreFilterList(configuration, {filter}), ConfigError);
  EXPECT_FALSE(configuration.Get(kFiltersKey, "NumFilters"));
}

TEST(DatabaseImportSettings, LastUsedFilterIsRememberedPerDatabase) {
  ProfileFile configuration = *ProfileFile::Parse("", ProfileFile::Strictness::kStrict);
  EXPECT_EQ(LastUsedFilter(configuration, "/data/notes.kst"), "");
  RememberLastUsedFilter(configuration, "/data/notes.kst", "Kestro DOS (*.txt) ");
  const auto reread =
      ProfileFile::Parse(configuration.Serialize(), ProfileFile::Strictness::kStrict);
  ASSERT_TRUE(reread);
  EXPECT_EQ(LastUsedFilter(*reread, "/data/notes.kst"), "Kestro DOS (*.txt) ");
  EXPECT_EQ(LastUsedFilter(*reread, "/data/other.kst"), "");
  EXPECT_TRUE(reread->Get("Software\\Kestro\\Windows\\5.0\\File Settings\\*data*notes.kst\\Import",
                          "FilterString"));
}

}  // namespace
}  // namespace ks::core
