// The import run: one importer per file name, in queue order, with the
// result, carry, first-file and delete-after rules hosts rely on.
#include <gtest/gtest.h>

#include <filesystem>

#include "api/import_session.h"
#include "core/scoped_env.h"
#include "ks_imp.h"
#include "stub_importer.h"
#include "write_file.h"

namespace {

constexpr uint32_t kHostDatabase = 4242;  // never opened: the engine ignores it

class ImportRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    session_.SetImporterFactory(StubFactory(script_));
    NewHandle();
  }

  void NewHandle() {
    handle_ = session_.InitImportUsingFileHandle(kHostDatabase);
    ASSERT_NE(handle_, 0u);
  }

  void QueueName(const std::string& name, int32_t type = 1000) {
    ASSERT_TRUE(session_.queue().Append(QueuedFile(handle_, name, type)));
  }

  uint32_t Import(int64_t* carry = nullptr, uint32_t* added = nullptr) {
    return session_.Import(handle_, 0, 0, carry, added);
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

TEST_F(ImportRunTest, BarJoinedRecordImportsEachNameAndIsTheLastRecordImported) {
  // The blank after the bar is dropped, only the first file is told it is
  // first, and the record after a two-name record goes unimported.
  QueueName("a.txt| b.txt");
  QueueName("c.txt");
  session_.handles().AddTotalBytes(handle_, 10);
  EXPECT_EQ(Import(), 1u);
  EXPECT_EQ(NamesImported(), (Names{"a.txt", "b.txt"}));
  EXPECT_TRUE(script_.seen[0].first_file);
  EXPECT_FALSE(script_.seen[1].first_file);
  // The handle is gone with the run, and its queue and counters with it.
  EXPECT_FALSE(session_.handles().Exists(handle_));
  EXPECT_EQ(session_.queue().Count(handle_), 0u);
  EXPECT_EQ(session_.handles().TotalBytes(handle_), 0u);
}

TEST_F(ImportRunTest, SingleNameRecordsAreAllImportedInQueueOrderAndTheLastResultCounts) {
  script_.run_results = {0, 0, 1};
  QueueName("a.txt");
  QueueName("b.txt");
  QueueName("c.txt");
  EXPECT_EQ(Import(), 1u);
  EXPECT_EQ(NamesImported(), (Names{"a.txt", "b.txt", "c.txt"}));
}

TEST_F(ImportRunTest, PrepareReturningZeroSkipsTheFileAndMakesTheResultZero) {
  script_.prepare_result = 0;
  QueueName("a.txt");
  EXPECT_EQ(Import(), 0u);
  ASSERT_EQ(script_.seen.size(), 1u);
  EXPECT_FALSE(script_.seen[0].ran);
}

TEST_F(ImportRunTest, OnlyAPositiveCarryIsHandedInButEachImportersCarryComesBack) {
  script_.carry_out = 9;
  QueueName("a.txt");
  QueueName("b.txt");
  int64_t positive = 5;
  Import(&positive);
  NewHandle();
  QueueName("c.txt");
  int64_t negative = -7;
  Import(&negative);
  ASSERT_EQ(script_.seen.size(), 3u);
  EXPECT_EQ(script_.seen[0].carry_in, 5);
  EXPECT_EQ(script_.seen[1].carry_in, 9);
  EXPECT_EQ(script_.seen[2].carry_in, 0);
  EXPECT_EQ(positive, 9);
  EXPECT_EQ(negative, 9);
}

TEST_F(ImportRunTest, AliasTypesAreMappedBeforeTheImporterIsCreated) {
  QueueName("a", 1099);
  QueueName("b", 1219);
  QueueName("c", 1300);
  QueueName("d", 1000);
  Import();
  EXPECT_EQ(script_.types_asked, (std::vector<int32_t>{770, 21, 703, 1000}));
  EXPECT_EQ(script_.seen[0].file_type, 770);
}

TEST_F(ImportRunTest, DocumentsAddedAreWrittenEvenWhenTheLastFileFails) {
  script_.run_results = {0};
  script_.while_running = [this](uint32_t h, const SETDATA&) {
    session_.handles().SetDocumentsAdded(h, 4);
  };
  QueueName("a.txt");
  uint32_t added = 99;
  EXPECT_EQ(Import(nullptr, &added), 0u);
  EXPECT_EQ(added, 4u);
}

TEST_F(ImportRunTest, TypesAcceptedWithoutAnImporterCountAsSuccess) {
  session_.SetImporterFactory({});
  QueueName("a.txt", 1003);
  QueueName("b.txt", 1007);
  uint32_t added = 77;
  EXPECT_EQ(Import(nullptr, &added), 1u);
  EXPECT_EQ(added, 0u);
}

// What became of each file, told apart from the run's totals.
TEST_F(ImportRunTest, EachFileHasItsOwnDocumentsFirstErrorLogAndWholeness) {
  script_.run_results = {1, 0};
  script_.while_running = [this](uint32_t h, const SETDATA& options) {
    const bool first = options.file_name == "a.txt";
    session_.handles().SetDocumentsAdded(h, first ? 2 : 5);
    if (first) return;
    session_.RecordError(h, 11024);
    session_.RecordError(h, 98);
    session_.AddLogText(h, "b broke\r\n");
  };
  QueueName("a.txt", 1004);
  QueueName("b.txt");
  Import();
  const auto a = session_.GetFileOutcome(handle_, 0);
  const auto b = session_.GetFileOutcome(handle_, 1);
  ASSERT_TRUE(a && b);
  EXPECT_EQ(a->file_name, "a.txt");
  EXPECT_EQ(a->file_type, 1004);
  EXPECT_EQ(a->documents_added, 2u);
  EXPECT_EQ(a->error, KSIMP_ERR_NONE);
  EXPECT_TRUE(a->imported_whole);
  EXPECT_EQ(a->log, "");
  EXPECT_EQ(b->documents_added, 3u);
  EXPECT_EQ(b->error, 11024u) << "the first error of the file";
  EXPECT_FALSE(b->imported_whole);
  EXPECT_EQ(b->log, "b broke\r\n");
  EXPECT_FALSE(session_.GetFileOutcome(handle_, 2));
}

TEST_F(ImportRunTest, AFileWithoutAnImporterEndsTheRunIsTheLastOutcomeAndSaysUnsupported) {
  session_.SetImporterFactory({});  // the real table: 1001 has no importer
  QueueName("a.txt", 1003);
  QueueName("b.pdf", 1001);
  QueueName("c.txt", 1003);
  uint32_t added = 77;
  EXPECT_EQ(Import(nullptr, &added), 0u);
  EXPECT_EQ(added, 77u) << "an early end leaves the result unwritten";
  // The handle is still released, and its queue with it.
  EXPECT_FALSE(session_.handles().Exists(handle_));
  EXPECT_EQ(session_.queue().Count(handle_), 0u);
  const auto b = session_.GetFileOutcome(handle_, 1);
  ASSERT_TRUE(b);
  EXPECT_EQ(b->error, KSIMP_ERR_UNSUPPORTED_TYPE);
  EXPECT_FALSE(b->imported_whole);
  EXPECT_TRUE(session_.GetFileOutcome(handle_, 0)->imported_whole);
  EXPECT_FALSE(session_.GetFileOutcome(handle_, 2)) << "never taken";
  EXPECT_EQ(session_.GetLastImportError(handle_), KSIMP_ERR_INTERNAL) << "nothing recorded";
}

TEST_F(ImportRunTest, UnknownHandleOrEmailModeRunsNothing) {
  QueueName("a.txt");
  EXPECT_EQ(session_.Import(handle_ + 1, 0, 0, nullptr, nullptr), 0u);
  session_.SetEmailMode(true);  // the call is passed on to the mail import
  EXPECT_EQ(Import(), 0u);
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

TEST_F(ImportRunTest, DeleteAfterImportRemovesOnlyASuccessfulFileInTheTempImportFolder) {
  TempDir dir;  // $TMPDIR points here, so the temp import folder is inside
  ScopedEnv tmpdir("TMPDIR", dir.path().string());
  const auto deleted = [&](const std::string& name, int32_t flag, int run_result) {
    NewHandle();
    SETDATA record = QueuedFile(handle_, WriteFile(dir, name, "x"));
    record.delete_after_import = flag;
    session_.queue().Append(record);
    script_.run_results = {run_result};
    script_.runs = 0;
    Import();
    return !std::filesystem::exists(record.file_name);
  };
  EXPECT_TRUE(deleted("KSTmpImp/a.txt", 1, 1));
  EXPECT_FALSE(deleted("KSTmpImp/b.txt", 1, 0)) << "failed to import";
  EXPECT_FALSE(deleted("other/c.txt", 1, 1)) << "outside the folder";
  EXPECT_FALSE(deleted("KSTmpImp/d.txt", 2, 1)) << "flag not exactly 1";
}

}  // namespace
