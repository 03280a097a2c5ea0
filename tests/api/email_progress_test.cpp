// What the host's polling thread sees of an e-mail import while a profile
// runs: the profile, its database and selection, the mailbox being read and
// the counters of the profile being run; a stand-in importer asks while it
// "imports".
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "api/ks_imp_app.h"
#include "core/scoped_env.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "stub_importer.h"
#include "temp_dir.h"
#include "write_file.h"

namespace {

class EmailProgressTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(EngCreateDatabase(database_.c_str(), nullptr, nullptr, 0), 0);
    WriteFile(mailbox_, "From a\nSubject: one\n\nText\n");
    session_.SetImporterFactory(StubFactory(script_));
  }
  void TearDown() override { session_.SetImporterFactory({}); }

  // Saves a profile of each name, of this mail type and these further keys,
  // for the test's mailbox and database, and queues them all on a new
  // e-mail import handle.
  uint32_t QueueProfiles(const std::vector<std::string>& names, int type,
                         const std::string& more = "") {
    const uint32_t handle = KSIMP_InitEmailImportUsingFileHandle(0);
    for (const std::string& name : names) {
      const std::string profile = "TYPE=" + std::to_string(type) + "\nNAME=" + name +
                                  "\nNAME_KESTRO=" + database_ + "\n" + more +
                                  "MAILBOX=" + mailbox_ + "\n";
      EXPECT_EQ(KSIMP_SaveEmailProfile(profile.c_str(), 0), 0u) << name;
      EXPECT_EQ(KSIMP_AddEmailProfileToImport(handle, name.c_str()), 1u) << name;
    }
    return handle;
  }

  TempDir dir_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", dir_.file("config")};
  std::string database_ = dir_.file("mail.kst");
  std::string mailbox_ = dir_.file("mail/Inbox");
  CImportSession& session_ = CKS_ImpApp::Instance().Session();
  StubScript script_;
};

TEST_F(EmailProgressTest, QueriesAnswerForTheProfileBeingRun) {
  const uint32_t handle = QueueProfiles({"Work"}, 1402, "TYPE_MSG=0\nDATE_START=01/31/2024\n");
  EXPECT_EQ(KSIMP_GetTotalBytes(handle), ReadFile(mailbox_).size());

  std::string name, database, description, file;
  uint32_t current_bytes = 0, documents = 0;
  script_.while_running = [&](uint32_t item, const SETDATA&) {
    char text[4096] = {};
    if (KSIMP_GetCurEmailProfile(handle, text, sizeof text)) name = text;
    if (KSIMP_GetCurEmailKroFile(handle, text, sizeof text)) database = text;
    if (KSIMP_GetCurEmailDescription(handle, text, sizeof text)) description = text;
    if (KSIMP_GetCurFile(handle, text)) file = text;
    session_.handles().SetCurrentBytes(item, 17);
    session_.handles().AddDocumentsAdded(item, 3);
    current_bytes = KSIMP_GetCurBytes(handle);
    documents = KSIMP_GetNumDocsAdded(handle);
  };
  KSIMP_Import(handle, 0, 0, nullptr, nullptr);

  EXPECT_EQ(name, "Work");
  EXPECT_EQ(database, database_);
  EXPECT_EQ(description, "New messages since Jan 31, 2024");
  EXPECT_EQ(file, "Inbox") << "the mailbox's name without its folder";
  EXPECT_EQ(current_bytes, 17u);
  EXPECT_EQ(documents, 3u);
  ASSERT_EQ(script_.seen.size(), 1u);
  EXPECT_EQ(script_.seen[0].file_type, KSIMP_TYPE_MBX);
  char text[64] = {};
  EXPECT_EQ(KSIMP_GetCurEmailProfile(handle, text, sizeof text), 0u) << "the run is over";
  EXPECT_FALSE(session_.IsEmailMode());
}

TEST_F(EmailProgressTest, AbortStopsTheProfileBeingRunAndThoseAfterIt) {
  const uint32_t handle = QueueProfiles({"First", "Second"}, 1403);
  bool aborted_seen = false;
  script_.while_running = [&](uint32_t item, const SETDATA&) {
    EXPECT_EQ(KSIMP_Abort(handle), 1u);
    aborted_seen = session_.handles().IsAborted(item);
  };
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, nullptr), 1u) << "an abort is not a failure";
  EXPECT_TRUE(aborted_seen) << "the abort reaches the profile being run";
  EXPECT_EQ(script_.seen.size(), 1u) << "the second profile does not run";
  EXPECT_EQ(script_.seen[0].file_type, KSIMP_TYPE_EUDORA);
}

TEST_F(EmailProgressTest, ImporterThatThrowsFailsItsProfileOnly) {
  const uint32_t handle = QueueProfiles({"Throws", "Runs"}, 1402, "TYPE_MSG=0\n");
  bool thrown = false;
  script_.while_running = [&](uint32_t, const SETDATA&) {
    if (thrown) return;
    thrown = true;
    throw std::runtime_error("a reader thread failed");
  };
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle), KSIMP_ERR_INTERNAL);
  EXPECT_EQ(script_.seen.size(), 2u) << "the next profile still runs";
  char text[1024] = {};
  ASSERT_EQ(KSIMP_GetEmailProfile("Throws", text, sizeof text), 1u);
  EXPECT_NE(std::string(text).find("DATE_START=\n"), std::string::npos) << "a failed run";
  ASSERT_EQ(KSIMP_GetEmailProfile("Runs", text, sizeof text), 1u);
  EXPECT_EQ(std::string(text).find("DATE_START=\n"), std::string::npos) << "a good run";
  // The e-mail import ended in order: the next one starts.
  const uint32_t next = KSIMP_InitEmailImportUsingFileHandle(0);
  EXPECT_NE(next, 0u);
  KSIMP_Import(next, 0, 0, nullptr, nullptr);
}

}  // namespace
