// Which files the library deletes after their import: only regular files
// whose real path lies inside the temporary import folder, never through
// "..", a linked folder, a link or a look-alike path.
#include "core/temp_import_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "api/write_file.h"
#include "core/scoped_env.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

TEST(TempImportFolder, OnlyRegularFilesReallyInsideAreDeletable) {
  TempDir dir;
  ScopedEnv tmpdir("TMPDIR", (dir.path() / "tmp").string());
  const fs::path folder = dir.path() / "tmp" / "KSTmpImp";
  const std::string inside = WriteFile(folder / "a.txt", "x");
  const std::string elsewhere = WriteFile(dir.path() / "elsewhere" / "b.txt", "x");
  WriteFile(dir.path() / "elsewhere" / "c.txt", "x");
  fs::create_directory_symlink(dir.path() / "elsewhere", folder / "dirlink");
  fs::create_symlink(elsewhere, folder / "link.txt");
  const std::string look_alike = WriteFile(dir.path() / "x" / "tmp" / "KSTmpImp" / "d.txt", "x");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);

  const std::pair<std::string, TempFileVerdict> cases[] = {
      {inside, TempFileVerdict::kDeletable},
      {(folder / ".." / ".." / "elsewhere" / "b.txt").string(), TempFileVerdict::kOutside},
      {(folder / "dirlink" / "c.txt").string(), TempFileVerdict::kOutside},
      {(folder / "link.txt").string(), TempFileVerdict::kLink},
      {look_alike, TempFileVerdict::kOutside},
      {(folder / "fifo").string(), TempFileVerdict::kNotAFile},
      {(folder / "missing.txt").string(), TempFileVerdict::kNotAFile},
  };
  for (const auto& [path, verdict] : cases) {
    EXPECT_EQ(CheckTempImportFile(path), verdict) << path;
    const std::string kept = DeleteTempImportFile(path);
    EXPECT_EQ(kept.empty(), verdict == TempFileVerdict::kDeletable) << path << ": " << kept;
    if (!kept.empty()) {
      EXPECT_NE(kept.find(path), std::string::npos) << kept;
    }
  }
  EXPECT_FALSE(fs::exists(inside));
  EXPECT_TRUE(fs::exists(elsewhere));
  EXPECT_TRUE(fs::exists(dir.path() / "elsewhere" / "c.txt"));
  EXPECT_TRUE(fs::exists(look_alike));
}

}  // namespace
