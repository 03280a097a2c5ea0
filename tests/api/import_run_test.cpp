// The import run: one importer per file name, in queue order, with the
// result, carry, first-file and delete-after rules hosts rely on.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "api/import_session.h"
#include "stub_importer.h"
#include "write_file.h"

namespace {

constexpr uint32_t kHostDatabase = 4242;  // never opened: the engine ignores it

class ImportRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    session_.SetImporterFactory(StubFactory(script_));
    handle_ = session_.InitImportUsingFileHandle(kHostDatabase);
    ASSERT_NE(handle_, 0u);
  }

  void QueueName(const std::string& name, int32_t type = 1000) {
    ASSERT_TRUE(session_.Queue(QueuedFile(handle_, name, type)));
  }

  std::vector<std::string> NamesImported() const {
    std::vector<std::string> names;
    for (const StubFileSeen& seen : script_.seen) names.push_back(seen.file_name);
    return names;
  }

  StubScript script_;
  CImportSession session_;
  uint32_t handle_ = 0;
};

using Names = std::vector<std::string>;

TEST_F(ImportRunTest, ImportsEachNameOfABarJoinedRecordDroppingTheBlankAfterTheBar) {
  QueueName("a.txt| b.txt");
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, nullptr), 1u);
  EXPECT_EQ(NamesImported(), (Names{"a.txt", "b.txt"}));
}

TEST_F(ImportRunTest, RecordAfterATwoNameRecordIsRemovedUnimported) {
  QueueName("a.txt| b.txt");
  QueueName("c.txt");
  session_.Import(handle_, 0, 0, nullptr, nullptr);
  EXPECT_EQ(NamesImported(), (Names{"a.txt", "b.txt"}));
}

TEST_F(ImportRunTest, SingleNameRecordsAreAllImportedInQueueOrder) {
  QueueName("a.txt");
  QueueName("b.txt");
  QueueName("c.txt");
  session_.Import(handle_, 0, 0, nullptr, nullptr);
  EXPECT_EQ(NamesImported(), (Names{"a.txt", "b.txt", "c.txt"}));
}

TEST_F(ImportRunTest, PrepareReturningZeroSkipsTheFileAndMakesTheResultZero) {
  script_.prepare_result = 0;
  QueueName("a.txt");
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, nullptr), 0u);
  ASSERT_EQ(script_.seen.size(), 1u);
  EXPECT_FALSE(script_.seen[0].ran);
}

TEST_F(ImportRunTest, ReturnsTheResultOfTheLastImporter) {
  script_.run_results = {0, 1};
  QueueName("a.txt");
  QueueName("b.txt");
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, nullptr), 1u);
}

TEST_F(ImportRunTest, PositiveCarryIsHandedInAndEachImportersCarryComesBack) {
  script_.carry_out = 9;
  QueueName("a.txt");
  QueueName("b.txt");
  int64_t carry = 5;
  session_.Import(handle_, 0, 0, &carry, nullptr);
  ASSERT_EQ(script_.seen.size(), 2u);
  EXPECT_EQ(script_.seen[0].carry_in, 5);
  EXPECT_EQ(script_.seen[1].carry_in, 9);
  EXPECT_EQ(carry, 9);
}

TEST_F(ImportRunTest, CarryOfZeroOrLessIsNotHandedInButIsOverwritten) {
  script_.carry_out = 3;
  QueueName("a.txt");
  int64_t carry = -7;
  session_.Import(handle_, 0, 0, &carry, nullptr);
  EXPECT_EQ(script_.seen[0].carry_in, 0);
  EXPECT_EQ(carry, 3);
}

TEST_F(ImportRunTest, OnlyTheFirstFileOfTheRunIsToldItIsFirst) {
  QueueName("a.txt| b.txt");
  session_.Import(handle_, 0, 0, nullptr, nullptr);
  ASSERT_EQ(script_.seen.size(), 2u);
  EXPECT_TRUE(script_.seen[0].first_file);
  EXPECT_FALSE(script_.seen[1].first_file);
}

TEST_F(ImportRunTest, AliasTypesAreMappedBeforeTheImporterIsCreated) {
  QueueName("a", 1099);
  QueueName("b", 1219);
  QueueName("c", 1300);
  QueueName("d", 1000);
  session_.Import(handle_, 0, 0, nullptr, nullptr);
  EXPECT_EQ(script_.types_asked, (std::vector<int32_t>{770, 21, 703, 1000}));
  EXPECT_EQ(script_.seen[0].file_type, 770);
}

TEST_F(ImportRunTest, DocumentsAddedAreWrittenEvenWhenTheLastFileFails) {
  script_.run_results = {0};
  script_.while_running = [this](uint32_t h, const SETDATA&) { session_.SetDocumentsAdded(h, 4); };
  QueueName("a.txt");
  uint32_t added = 99;
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, &added), 0u);
  EXPECT_EQ(added, 4u);
}

TEST_F(ImportRunTest, UnknownFileTypeEndsTheRunAndTheHandleIsStillReleased) {
  session_.SetImporterFactory({});  // the real table: 1001 has no importer
  QueueName("a.txt", 1001);
  QueueName("b.txt", 1003);
  uint32_t added = 77;
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, &added), 0u);
  EXPECT_EQ(added, 77u) << "an early end leaves the result unwritten";
  EXPECT_FALSE(session_.HandleExists(handle_));
  EXPECT_EQ(session_.QueuedCount(handle_), 0u);
}

TEST_F(ImportRunTest, TypesAcceptedWithoutAnImporterCountAsSuccess) {
  session_.SetImporterFactory({});
  QueueName("a.txt", 1003);
  QueueName("b.txt", 1007);
  uint32_t added = 77;
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, &added), 1u);
  EXPECT_EQ(added, 0u);
}

TEST_F(ImportRunTest, HandleIsUnknownAfterImport) {
  QueueName("a.txt");
  session_.AddTotalBytes(handle_, 10);
  session_.Import(handle_, 0, 0, nullptr, nullptr);
  EXPECT_FALSE(session_.HandleExists(handle_));
  EXPECT_EQ(session_.GetTotalBytes(handle_), 0u);
}

TEST_F(ImportRunTest, UnknownHandleImportsNothing) {
  QueueName("a.txt");
  EXPECT_EQ(session_.Import(handle_ + 1, 0, 0, nullptr, nullptr), 0u);
  EXPECT_TRUE(script_.seen.empty());
}

TEST_F(ImportRunTest, HostValuesAreKeptWhileTheImportRuns) {
  int32_t seen1 = 0, seen2 = 0;
  script_.while_running = [&](uint32_t, const SETDATA&) {
    seen1 = session_.HostValue1();
    seen2 = session_.HostValue2();
  };
  QueueName("a.txt");
  session_.Import(handle_, 11, 22, nullptr, nullptr);
  EXPECT_EQ(seen1, 11);
  EXPECT_EQ(seen2, 22);
}

TEST_F(ImportRunTest, EmailModePassesTheCallOnAndRunsNothing) {
  QueueName("a.txt");
  session_.SetEmailMode(true);
  EXPECT_EQ(session_.Import(handle_, 0, 0, nullptr, nullptr), 0u);
  EXPECT_TRUE(script_.seen.empty());
}

// Deleting after the import touches real files in $TMPDIR.
class DeleteAfterImportTest : public ImportRunTest {
 protected:
  void SetUp() override {
    const char* old = getenv("TMPDIR");
    old_tmpdir_ = old ? old : "";
    had_tmpdir_ = old != nullptr;
    setenv("TMPDIR", dir_.path().c_str(), 1);
    ImportRunTest::SetUp();
  }
  void TearDown() override {
    if (had_tmpdir_) {
      setenv("TMPDIR", old_tmpdir_.c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }

  bool ImportAndCheckDeleted(const std::string& file, int32_t flag, int run_result) {
    SETDATA record = QueuedFile(handle_, file);
    record.delete_after_import = flag;
    session_.Queue(record);
    script_.run_results = {run_result};
    session_.Import(handle_, 0, 0, nullptr, nullptr);
    return !std::filesystem::exists(file);
  }

  TempDir dir_;
  std::string old_tmpdir_;
  bool had_tmpdir_ = false;
};

TEST_F(DeleteAfterImportTest, DeletesASuccessfulFileInsideTheTempImportFolder) {
  EXPECT_TRUE(ImportAndCheckDeleted(WriteFile(dir_, "KSTmpImp/a.txt", "x"), 1, 1));
}

TEST_F(DeleteAfterImportTest, KeepsAFileThatFailedToImport) {
  EXPECT_FALSE(ImportAndCheckDeleted(WriteFile(dir_, "KSTmpImp/a.txt", "x"), 1, 0));
}

TEST_F(DeleteAfterImportTest, KeepsAFileOutsideTheTempImportFolder) {
  EXPECT_FALSE(ImportAndCheckDeleted(WriteFile(dir_, "other/a.txt", "x"), 1, 1));
}

TEST_F(DeleteAfterImportTest, KeepsAFileWhoseFlagIsNotExactlyOne) {
  EXPECT_FALSE(ImportAndCheckDeleted(WriteFile(dir_, "KSTmpImp/a.txt", "x"), 2, 1));
}

}  // namespace
