#include "core/config_store.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "api/write_file.h"

namespace ks::core {
namespace {

TEST(ConfigStore, MissingFileIsEmptyAndSaveCreatesIt) {
  TempDir dir;
  const auto path = dir.path() / "sub" / "kestro.conf";
  ConfigStore store = ConfigStore::Load(path);
  EXPECT_FALSE(store.values().Get("SOFTWARE\\Kestro\\Windows\\5.0\\Kestro\\Filters", "NumFilters"));
  store.values().Set("SOFTWARE\\Kestro\\Windows\\5.0\\Kestro\\Filters", "NumFilters", "13");
  store.Save();
  EXPECT_EQ(ConfigStore::Load(path).values().Get("software\\kestro\\windows\\5.0\\kestro\\filters",
                                                 "numfilters"),
            "13");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1)
      << "nothing but the file is left beside it";
}

TEST(ConfigStore, UpdatesAtTheSameTimeAllKeepTheirChange) {
  // Each updater opens, locks and saves on its own, as separate hosts would.
  TempDir dir;
  const auto path = dir.path() / "kestro.conf";
  constexpr int kUpdaters = 8, kUpdatesEach = 25;
  std::vector<std::thread> updaters;
  for (int u = 0; u < kUpdaters; ++u) {
    updaters.emplace_back([&, u] {
      for (int i = 0; i < kUpdatesEach; ++i) {
        ConfigStore::Update(
            [&](ProfileFile& values) {
              values.Set("s", "k" + std::to_string(u) + "_" + std::to_string(i), "v");
            },
            path);
      }
    });
  }
  for (auto& updater : updaters) updater.join();
  const ConfigStore store = ConfigStore::Load(path);
  for (int u = 0; u < kUpdaters; ++u) {
    for (int i = 0; i < kUpdatesEach; ++i) {
      EXPECT_EQ(store.values().Get("s", "k" + std::to_string(u) + "_" + std::to_string(i)), "v");
    }
  }
}

TEST(ConfigStore, DamagedFileIsReportedAndLeftAsItIs) {
  TempDir dir;
  const auto path = dir.path() / "kestro.conf";
  const std::string before = "[ok]\nkey=value\n\x01\x02 garbage line\n";
  WriteFile(path, before);
  try {
    ConfigStore::Load(path);
    FAIL() << "a damaged file was accepted";
  } catch (const ConfigError& e) {
    EXPECT_NE(std::string(e.what()).find("line 3"), std::string::npos) << e.what();
  }
  EXPECT_EQ(ReadFile(path), before);
}

TEST(ConfigStore, FileSettingsKeyReplacesBothSeparators) {
  EXPECT_EQ(FileSettingsKey("C:\\data\\notes.kst"),
            "Software\\Kestro\\Windows\\5.0\\File Settings\\C:*data*notes.kst");
  EXPECT_EQ(FileSettingsKey("/home/a/notes.kst"),
            "Software\\Kestro\\Windows\\5.0\\File Settings\\*home*a*notes.kst");
}

}  // namespace
}  // namespace ks::core
