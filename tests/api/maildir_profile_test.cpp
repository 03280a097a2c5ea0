// Maildir profiles through the e-mail exports: a profile that imports new
// messages, run again and again, imports each message once, whether it was
// delivered to new/ and then read into cur/ (its name gains flags) or
// delivered between two runs; a Maildir replaced by another folder is read
// whole again.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "core/scoped_env.h"
#include "importers/import_fixture.h"

namespace {

namespace fs = std::filesystem;

class MaildirProfileTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    maildir_ = dir_.path() / "Maildir";
    for (const char* sub : {"cur", "new", "tmp"}) fs::create_directories(maildir_ / sub);
  }

  uint32_t SaveProfile(const std::string& name, const std::string& selection) {
    const std::string text = "TYPE=" + std::to_string(KSIMP_MAIL_MAILDIR) + "\nNAME=" + name +
                             "\nNAME_KESTRO=" + database_ + "\nTYPE_MSG=" + selection +
                             "\nMAILBOX=" + maildir_.string() + "\n";
    return KSIMP_SaveEmailProfile(text.c_str(), 0);
  }

  ImportOutcome Run(const std::string& profile) { return RunEmailProfiles({profile}); }

  // A message delivered now, as a delivery agent names it.
  fs::path Deliver(const std::string& subject) {
    const fs::path file =
        maildir_ / "new" /
        (std::to_string(std::time(nullptr)) + ".P1Q" + std::to_string(++count_) + ".host");
    WriteFile(file.string(), "Subject: " + subject + "\nFrom: a@example.com\n\nText.\n");
    return file;
  }


  TempDir config_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_.path().string()};
  fs::path maildir_;
  int count_ = 0;
};

TEST_F(MaildirProfileTest, NewMessagesProfileImportsEachMessageOnce) {
  const fs::path first = Deliver("one");
  Deliver("two");
  ASSERT_EQ(SaveProfile("Home", "0"), 0u);
  // A run in the second of a delivery reads that second again next time
  // (maildir_checkpoint.h); here the deliveries are seconds older.
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));

  ImportOutcome run = Run("Home");
  EXPECT_EQ(run.result, 1u) << run.log;
  EXPECT_EQ(run.documents_added, 2u) << run.log;

  // Read by a mail program: moved to cur/ with its flags.
  fs::rename(first, maildir_ / "cur" / (first.filename().string() + ":2,S"));
  run = Run("Home");
  EXPECT_EQ(run.result, 1u) << run.log;
  EXPECT_EQ(run.documents_added, 0u) << run.log;
  EXPECT_TRUE(Holds(run.log, "\"Home\" Profile - No new messages since last import."));

  // Delivered between two runs: taken by the next run, and only once.
  Deliver("three");
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(Run("Home").documents_added, 1u);
  EXPECT_EQ(Run("Home").documents_added, 0u);
  for (const char* subject : {"one", "two", "three"}) EXPECT_EQ(CountOf(subject), 1u) << subject;
}

TEST_F(MaildirProfileTest, AllMessagesProfileImportsEverythingEachTime) {
  Deliver("one");
  ASSERT_EQ(SaveProfile("Everything", "2"), 0u);
  EXPECT_EQ(Run("Everything").documents_added, 1u);
  EXPECT_EQ(Run("Everything").documents_added, 1u);
  EXPECT_EQ(CountOf("one"), 2u);
}

TEST_F(MaildirProfileTest, AMissingMaildirFailsTheProfileWithItsMessage) {
  ASSERT_EQ(SaveProfile("Gone", "0"), 0u);
  fs::remove_all(maildir_);
  const ImportOutcome run = Run("Gone");
  EXPECT_EQ(run.result, 0u);
  EXPECT_TRUE(Holds(run.log, "\"Gone\" Profile - Unable to open mailbox " + maildir_.string()));
}

}  // namespace
