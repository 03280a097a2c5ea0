// Names joined by "|" and the temporary import folder.
#include "api/file_names.h"

#include <gtest/gtest.h>

#include "core/temp_import_folder.h"
#include "core/scoped_env.h"

namespace {

using Names = std::vector<std::string>;

TEST(SplitFileNames, BlanksAfterEachBarAreDroppedAndASingleNameIsKeptWhole) {
  EXPECT_EQ(SplitFileNames("a.txt|  b.txt|\tc d.txt"), (Names{"a.txt", "b.txt", "c d.txt"}));
  EXPECT_EQ(SplitFileNames(" a b.txt "), (Names{" a b.txt "}));
}

TEST(TempImportFolder, IsTmpdirFollowedByKSTmpImp) {
  ScopedEnv tmpdir("TMPDIR", "/var/scratch/");
  EXPECT_EQ(TempImportFolder(), "/var/scratch/KSTmpImp/");  // what is in it: import_run_test
  ScopedEnv no_tmpdir("TMPDIR", std::nullopt);
  EXPECT_EQ(TempImportFolder(), "/tmp/KSTmpImp/");
}

}  // namespace
