// KSWordPerfect as the WordPerfect import loads it: by name, through
// LoadableModule, KSWp2rtf called with a zero-filled buffer of 2,048 bytes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "api/write_file.h"
#include "core/loadable_module.h"
#include "core/scoped_env.h"
#include "ks_wordperfect/ks_wordperfect.h"
#include "modules/tool_output.h"
#include "temp_dir.h"

namespace {

using ks::core::LoadableModule;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::filesystem::path CorpusWordPerfect() {
  return std::filesystem::path(KS_SHARED_DIR) / "corpus" / "wpd";
}

class KsWordPerfectModule : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    module_ = LoadableModule::Load("KSWordPerfect", &why);
    ASSERT_TRUE(module_) << why;
    convert_ = module_->Find<int(const char*, char*)>("KSWp2rtf");
    ASSERT_NE(convert_, nullptr);
  }

  // The import's temporary folder under this test's TMPDIR.
  std::filesystem::path TempImportFolder() const { return dir_.path() / "KSTmpImp"; }

  std::vector<std::filesystem::path> LeftInTempFolder() const {
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(TempImportFolder())) return files;
    for (const auto& entry : std::filesystem::directory_iterator(TempImportFolder())) {
      files.push_back(entry.path());
    }
    return files;
  }

  struct Conversion {
    int result = 0;
    std::string path;  // what the buffer holds afterwards
  };
  Conversion Convert(const std::string& in) {
    std::vector<char> buffer(KS_WP_PATH_BUFFER, '\0');
    Conversion c;
    c.result = convert_(in.c_str(), buffer.data());
    c.path.assign(buffer.data(), strnlen(buffer.data(), buffer.size()));
    return c;
  }

  TempDir dir_;
  ScopedEnv tmpdir_{"TMPDIR", dir_.path().string()};
  std::unique_ptr<LoadableModule> module_;
  int (*convert_)(const char*, char*) = nullptr;
};

TEST_F(KsWordPerfectModule, WritesAUtf8CopyOfWhatWpd2textPrints) {
  if (!std::filesystem::is_directory(CorpusWordPerfect())) GTEST_SKIP() << "no shared corpus";
  const bool have_wpd2text = HaveTool("wpd2text");
  int converted = 0;
  for (const auto& entry : std::filesystem::directory_iterator(CorpusWordPerfect())) {
    const std::string in = entry.path().string();
    const Conversion c = Convert(in);
    ASSERT_GE(c.result, 0) << in;
    ++converted;
    // The copy: in the import's temporary folder, the user's own, UTF-8
    // with its byte-order mark.
    ASSERT_EQ(std::filesystem::path(c.path).parent_path(), TempImportFolder()) << c.path;
    struct stat info {};
    ASSERT_EQ(stat(c.path.c_str(), &info), 0) << c.path;
    EXPECT_EQ(info.st_mode & 0777, 0600u) << c.path;
    const std::string copy = ReadFile(c.path);
    ASSERT_EQ(copy.substr(0, kUtf8Mark.size()), kUtf8Mark) << c.path;
    const std::string text = copy.substr(kUtf8Mark.size());
    EXPECT_FALSE(Words(text).empty()) << in;
    if (have_wpd2text) {
      const ToolOutput reference = RunTool("wpd2text", "", in);
      ASSERT_EQ(reference.status, 0) << in;
      // The same generator of the same libwpd: equal byte for byte, so
      // equal word for word after collapsing white space too.  No
      // difference needs explaining; the truncated 5.1 file gives, in both,
      // the paragraphs before its cut.
      EXPECT_EQ(text, reference.output) << in;
    }
    std::filesystem::remove(c.path);
  }
  EXPECT_EQ(converted, 4);
  EXPECT_TRUE(LeftInTempFolder().empty());
}

TEST_F(KsWordPerfectModule, EachConversionGetsACopyOfItsOwn) {
  const std::filesystem::path in = CorpusWordPerfect() / "testWordPerfect.wpd";
  if (!std::filesystem::exists(in)) GTEST_SKIP() << "no shared corpus";
  const Conversion first = Convert(in.string());
  const Conversion second = Convert(in.string());
  ASSERT_EQ(first.result, KS_WP_OK);
  ASSERT_EQ(second.result, KS_WP_OK);
  EXPECT_NE(first.path, second.path);
  EXPECT_EQ(ReadFile(first.path), ReadFile(second.path));
  EXPECT_EQ(LeftInTempFolder().size(), 2u);
}

TEST_F(KsWordPerfectModule, WhatIsNoWordPerfectIsRefusedAndLeavesNothing) {
  const std::vector<std::pair<std::string, std::string>> files = {
      {"empty.wpd", ""},
      {"text.wpd", "Plain text, no WordPerfect here.\n"},
      {"header.wpd", std::string("\xFFWPC", 4) + std::string(12, '\0')},
  };
  for (const auto& [name, content] : files) {
    const Conversion c = Convert(WriteFile(dir_, name, content));
    EXPECT_LT(c.result, 0) << name;
    EXPECT_TRUE(c.path.empty()) << name << ": the buffer is left as it was";
  }
  EXPECT_EQ(Convert(dir_.file("missing.wpd")).result, KS_WP_ERROR_NOT_WP);
  EXPECT_EQ(Convert(WriteFile(dir_, "text2.wpd", "hello")).result, KS_WP_ERROR_NOT_WP);
  EXPECT_TRUE(LeftInTempFolder().empty());
}

TEST_F(KsWordPerfectModule, NullArgumentsAreRefused) {
  char buffer[KS_WP_PATH_BUFFER] = {};
  EXPECT_EQ(convert_(nullptr, buffer), KS_WP_ERROR_ARGUMENT);
  EXPECT_EQ(convert_("x.wpd", nullptr), KS_WP_ERROR_ARGUMENT);
}

TEST_F(KsWordPerfectModule, ACopyThatCannotBeWrittenIsAFailure) {
  const std::filesystem::path in = CorpusWordPerfect() / "testWordPerfect.wpd";
  if (!std::filesystem::exists(in)) GTEST_SKIP() << "no shared corpus";
  // The temporary folder's place is taken by a file.
  WriteFile(TempImportFolder(), "");
  const Conversion c = Convert(in.string());
  EXPECT_EQ(c.result, KS_WP_ERROR_WRITE);
  EXPECT_TRUE(c.path.empty());
}

TEST_F(KsWordPerfectModule, APathTooLongForTheBufferIsAFailureAndLeavesNothing) {
  const std::filesystem::path in = CorpusWordPerfect() / "testWordPerfect.wpd";
  if (!std::filesystem::exists(in)) GTEST_SKIP() << "no shared corpus";
  // A TMPDIR whose path, with "KSTmpImp/wp-XXXXXX.txt", is longer than the
  // buffer: folders of 200 characters, nested.
  std::filesystem::path deep = dir_.path();
  while (deep.string().size() < KS_WP_PATH_BUFFER) deep /= std::string(200, 'd');
  std::filesystem::create_directories(deep);
  ScopedEnv deep_tmpdir("TMPDIR", deep.string());
  const Conversion c = Convert(in.string());
  EXPECT_EQ(c.result, KS_WP_ERROR_PATH);
  EXPECT_TRUE(c.path.empty());
  EXPECT_TRUE(std::filesystem::is_empty(deep / "KSTmpImp"));
}

}  // namespace
