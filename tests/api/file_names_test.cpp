// Names joined by "|" and the temporary import folder.
#include "api/file_names.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "api/temp_import_folder.h"

namespace {

using Names = std::vector<std::string>;

TEST(SplitFileNames, BlanksAfterEachBarAreDropped) {
  EXPECT_EQ(SplitFileNames("a.txt|  b.txt|\tc d.txt"), (Names{"a.txt", "b.txt", "c d.txt"}));
}

TEST(SplitFileNames, SingleNameIsKeptWhole) {
  EXPECT_EQ(SplitFileNames(" a b.txt "), (Names{" a b.txt "}));
}

TEST(TempImportFolder, IsTmpdirFollowedByKSTmpImp) {
  const char* old = getenv("TMPDIR");
  const bool had_tmpdir = old != nullptr;
  const std::string saved = had_tmpdir ? old : "";
  setenv("TMPDIR", "/var/scratch/", 1);
  EXPECT_EQ(TempImportFolder(), "/var/scratch/KSTmpImp/");
  EXPECT_TRUE(IsInTempImportFolder("/var/scratch/KSTmpImp/x.txt"));
  EXPECT_FALSE(IsInTempImportFolder("/var/scratch/x.txt"));
  unsetenv("TMPDIR");
  EXPECT_EQ(TempImportFolder(), "/tmp/KSTmpImp/");
  if (had_tmpdir) setenv("TMPDIR", saved.c_str(), 1);
}

}  // namespace
