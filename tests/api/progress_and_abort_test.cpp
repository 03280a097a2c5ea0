// What the host's other thread asks while an import runs: the current file,
// abort, and the counters, read concurrently with a running importer (this
// test is the one to run under ThreadSanitizer).  An abort from another
// thread stopping real importers is ImportAbortingAfter's part.
#include <gtest/gtest.h>
#include <limits.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "api/ks_imp_app.h"
#include "core/scoped_env.h"
#include "ks_imp.h"
#include "stub_importer.h"
#include "write_file.h"

namespace {

class ProgressTest : public ::testing::Test {
 protected:
  void SetUp() override {
    session().SetImporterFactory(StubFactory(script_));
    handle_ = KSIMP_InitImportUsingFileHandle(4242);
  }
  void TearDown() override {
    session().SetImporterFactory({});
    session().ReleaseHandle(handle_);
  }
  static CImportSession& session() { return CKS_ImpApp::Instance().Session(); }

  StubScript script_;
  uint32_t handle_ = 0;
};

// What it is while attachments are read is the attachment import's test.
TEST_F(ProgressTest, CurrentFileIsTheFirstQueuedRecord) {
  session().queue().Append(QueuedFile(handle_, "a.txt| b.txt"));
  session().queue().Append(QueuedFile(handle_, "c.txt"));
  char name[PATH_MAX];
  ASSERT_EQ(KSIMP_GetCurFile(handle_, name), 1u);
  EXPECT_STREQ(name, "a.txt| b.txt");
}

TEST_F(ProgressTest, CurrentFileIsCutToPathMaxMinusOneBytes) {
  session().queue().Append(QueuedFile(handle_, std::string(PATH_MAX + 50, 'n')));
  std::string buffer(PATH_MAX + 10, '#');
  ASSERT_EQ(KSIMP_GetCurFile(handle_, buffer.data()), 1u);
  EXPECT_EQ(std::strlen(buffer.c_str()), size_t{PATH_MAX - 1});
  EXPECT_EQ(buffer[PATH_MAX], '#');
}

TEST_F(ProgressTest, AbortMarksTheHandleAndDeletesWaitingAttachmentFiles) {
  TempDir dir;  // $TMPDIR points here, so the temp import folder is inside
  ScopedEnv tmpdir("TMPDIR", dir.path().string());
  const std::string saved = WriteFile(dir, "KSTmpImp/att.bin", "data");
  const std::string elsewhere = WriteFile(dir, "mine/att.bin", "data");
  const uint32_t attachment_handle = KSIMP_InitImportUsingFileHandle(4242);
  session().AddAttachment({saved, "att.bin", 3, attachment_handle});
  session().AddAttachment({elsewhere, "att.bin", 3, attachment_handle});
  session().SetEmailMode(true);

  EXPECT_EQ(KSIMP_Abort(handle_), 1u);
  EXPECT_TRUE(session().handles().IsAborted(handle_));
  EXPECT_FALSE(std::filesystem::exists(saved));
  EXPECT_TRUE(std::filesystem::exists(elsewhere)) << "only files of the temp folder are deleted";
  EXPECT_EQ(session().AttachmentCount(), 0u);
  EXPECT_FALSE(session().handles().Exists(attachment_handle));
  EXPECT_FALSE(session().IsEmailMode());
}

TEST_F(ProgressTest, PollingThreadSeesConsistentCountersWhileTheImportRuns) {
  constexpr uint32_t kSteps = 2000;
  script_.while_running = [](uint32_t h, const SETDATA&) {
    for (uint32_t i = 1; i <= kSteps; ++i) {
      session().handles().AddCurrentBytes(h, 1);
      session().handles().SetDocumentsAdded(h, i);
      if (i % 64 == 0) std::this_thread::yield();
    }
  };
  session().queue().Append(QueuedFile(handle_, "a.txt"));
  session().handles().AddTotalBytes(handle_, kSteps);

  std::atomic<bool> done{false};
  uint32_t backwards = 0, above_total = 0;
  std::thread poller([&] {
    uint32_t last = 0;
    char name[PATH_MAX];
    while (!done.load()) {
      const uint32_t current = KSIMP_GetCurBytes(handle_);
      if (current != 0 && current < last) ++backwards;  // 0: released at the end
      if (current > KSIMP_GetTotalBytes(handle_) && KSIMP_GetTotalBytes(handle_) != 0)
        ++above_total;
      last = current;
      KSIMP_GetNumDocsAdded(handle_);
      KSIMP_GetCurFile(handle_, name);
    }
  });
  uint32_t added = 0;
  const uint32_t code = KSIMP_Import(handle_, 0, 0, nullptr, &added);
  done.store(true);
  poller.join();

  EXPECT_EQ(code, 1u);
  EXPECT_EQ(added, kSteps);
  EXPECT_EQ(backwards, 0u);
  EXPECT_EQ(above_total, 0u);
}

}  // namespace
