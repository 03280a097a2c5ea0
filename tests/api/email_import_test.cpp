// E-mail imports through the exported interface: profiles saved, queued and
// run into real databases from small mailboxes the tests write; "new
// messages" that import only what arrived since the last run; failures that
// leave the profile as it was; the progress queries while a profile runs.
#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "api/import_session.h"
#include "core/error_codes.h"
#include "core/scoped_env.h"
#include "importers/import_fixture.h"
#include "importers/mail/email_profile.h"

namespace {

// A message of a standard mailbox, dated `date` (RFC 822).
std::string Message(const std::string& subject, const std::string& date) {
  return "From sender@example.com Mon Jan  1 10:00:00 2024\nFrom: sender@example.com\n"
         "To: you@example.com\nSubject: " + subject + "\nDate: " + date + "\n\nText of " +
         subject + ".\n\n";
}

std::string Today() {
  return FormatProfileDate(LocalDateOf(static_cast<int64_t>(std::time(nullptr))));
}

class EmailImportTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    mailbox_ = dir_.file("Inbox");
  }

  // Saves a profile of the standard mailbox into the fixture's database.
  uint32_t SaveProfile(const std::string& name, const std::string& more = "",
                       const std::string& database = "") {
    const std::string text = "TYPE=1404\nNAME=" + name +
                             "\nNAME_KESTRO=" + (database.empty() ? database_ : database) +
                             "\nMAILBOX=" + mailbox_ + "\n" + more;
    return KSIMP_SaveEmailProfile(text.c_str(), 0);
  }

  std::string ProfileText(const std::string& name) {
    char text[4096] = {};
    EXPECT_EQ(KSIMP_GetEmailProfile(name.c_str(), text, sizeof text), 1u) << name;
    return text;
  }

  void Append(const std::string& text) { std::ofstream(mailbox_, std::ios::app) << text; }

  TempDir config_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_.path().string()};
  std::string mailbox_;
};

TEST_F(EmailImportTest, NewMessagesImportsOnlyWhatArrivedSinceTheLastRun) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000") +
                          Message("two", "Tue, 2 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Work", "TYPE_MSG=0\n"), 0u);

  ImportOutcome run = RunEmailProfiles({"Work"});
  EXPECT_EQ(run.result, 1u) << run.log;
  EXPECT_EQ(run.documents_added, 2u);
  EXPECT_EQ(run.error, KSIMP_ERR_INTERNAL) << "nothing failed";
  EXPECT_TRUE(Holds(run.log, "Email profile Work.  2 document(s) added to " + database_ + ".\r\n"));
  EXPECT_TRUE(Holds(ProfileText("Work"), "DATE_START=" + Today() + "\n"));

  run = RunEmailProfiles({"Work"});
  EXPECT_EQ(run.result, 1u);
  EXPECT_EQ(run.documents_added, 0u);
  EXPECT_TRUE(Holds(run.log, "\"Work\" Profile - No new messages since last import.\r\n"));

  // The same day, one more message: that one alone, whatever its date.
  Append(Message("three", "Sun, 31 Dec 2023 23:00:00 +0000"));
  run = RunEmailProfiles({"Work"});
  EXPECT_EQ(run.documents_added, 1u) << run.log;
  const std::vector<std::string> documents = Documents();
  ASSERT_EQ(documents.size(), 3u);
  EXPECT_TRUE(Holds(documents[2], "Text of three."));
  EXPECT_EQ(RunEmailProfiles({"Work"}).documents_added, 0u);
}

TEST_F(EmailImportTest, RewrittenMailboxFallsBackToTheStartDate) {
  WriteFile(mailbox_, Message("old", "Mon, 1 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Work", "TYPE_MSG=0\n"), 0u);
  ASSERT_EQ(RunEmailProfiles({"Work"}).documents_added, 1u);

  // Compacted by the mail program: a new file, the old message and one of
  // today.  Only messages dated on or after the start date are new.
  char today[64] = {};
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(today, sizeof today, "%a, %d %b %Y %H:%M:%S %z", &local);
  WriteFile(dir_, "compacted",
            Message("old", "Mon, 1 Jan 2024 10:00:00 +0000") + Message("today", today));
  std::filesystem::rename(dir_.file("compacted"), mailbox_);
  const ImportOutcome run = RunEmailProfiles({"Work"});
  EXPECT_EQ(run.documents_added, 1u) << run.log;
  EXPECT_TRUE(Holds(Documents().back(), "Text of today."));
}

TEST_F(EmailImportTest, FailedRunLeavesTheStartDateAsItWas) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000"));
  const std::string missing = dir_.file("no folder/target.kst");
  ASSERT_EQ(SaveProfile("Lost", "TYPE_MSG=0\nDATE_START=01/02/2020\n", missing), 0u);
  const std::string before = ProfileText("Lost");

  const ImportOutcome run = RunEmailProfiles({"Lost"});
  EXPECT_EQ(run.result, 0u);
  EXPECT_EQ(run.documents_added, 0u);
  EXPECT_EQ(run.error, KSIMP_ERR_OPEN_DATABASE);
  EXPECT_TRUE(Holds(run.log, "Email profile Lost.  Cannot open Kestro file " + missing + ".\r\n"));
  EXPECT_TRUE(Holds(run.log, "Error with one or more profiles\r\n"));
  EXPECT_EQ(ProfileText("Lost"), before);
  EXPECT_TRUE(Holds(before, "DATE_START=01/02/2020\n"));
}

TEST_F(EmailImportTest, OneFailedProfileDoesNotStopTheNext) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Broken", "MAILBOX=" + dir_.file("gone.mbx") + "\n"), 0u);
  ASSERT_EQ(SaveProfile("Fine"), 0u);
  ASSERT_EQ(KSIMP_SaveEmailProfile(
                "TYPE=1401\nNAME=Server\nNAME_KESTRO=/x.kst\nMAILROOT=/mail\nALL=Yes\n", 0),
            0u);

  const ImportOutcome run = RunEmailProfiles({"Broken", "Server", "Fine"});
  EXPECT_EQ(run.result, 0u);
  EXPECT_EQ(run.documents_added, 2u) << "Broken reads its one mailbox that exists, Fine reads it again";
  EXPECT_EQ(run.error, KSIMP_ERR_OPEN_FILE) << "the first error recorded";
  EXPECT_TRUE(Holds(
      run.log, "\"Broken\" Profile - Unable to open mailbox " + dir_.file("gone.mbx") + "\r\n"));
  EXPECT_TRUE(Holds(run.log, "Email profile Server.  Cannot open Kestro file /x.kst."));
  EXPECT_TRUE(Holds(run.log, "Email profile Fine.  1 document(s) added"));
}

TEST_F(EmailImportTest, ProfileNamingTheHostsDatabaseUsesItsHandle) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Work", "TYPE_MSG=1\nDATE_START=01/01/2024\nDATE_END=01/01/2024\n"), 0u);
  const uint32_t db =
      EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db, 0u);
  const ImportOutcome run = RunEmailProfiles({"Work"}, db);
  EXPECT_EQ(run.documents_added, 1u) << run.log;
  EXPECT_EQ(EngCountDocuments(db, KSENG_WALK_DOCUMENTS), 1u) << "the host's handle stays open";
  EXPECT_NE(EngCloseDatabase(db), 0);
  EXPECT_EQ(ProfileText("Work").find("DATE_START=" + Today()), std::string::npos)
      << "only a profile of new messages moves its start date";
}

TEST_F(EmailImportTest, NothingInTheDateRangeIsSaidSo) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Range", "TYPE_MSG=1\nDATE_START=03/01/2024\nDATE_END=03/31/2024\n"), 0u);
  const ImportOutcome run = RunEmailProfiles({"Range"});
  EXPECT_EQ(run.result, 1u);
  EXPECT_EQ(run.documents_added, 0u);
  EXPECT_TRUE(
      Holds(run.log, "\"Range\" Profile - There are no messages in the selected date range."));
}

TEST_F(EmailImportTest, QueuingChecksTheHandleAndTheProfile) {
  const uint32_t plain = KSIMP_InitImportUsingFileName(database_.c_str());
  EXPECT_EQ(KSIMP_AddEmailProfileToImport(plain, "Work"), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(plain), KSIMP_ERR_NO_SUCH_HANDLE);
  KSIMP_Import(plain, 0, 0, nullptr, nullptr);

  const uint32_t handle = KSIMP_InitEmailImportUsingFileHandle(0);
  EXPECT_EQ(KSIMP_AddEmailProfileToImport(handle, "Nobody"), 0u);
  EXPECT_EQ(KSIMP_AddEmailProfileToImport(handle, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle), KSIMP_ERR_QUEUE);
  EXPECT_EQ(KSIMP_GetEmailProfileCount(handle), 0u);
  uint32_t added = 99;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u) << "nothing to run, nothing failed";
  EXPECT_EQ(added, 0u);
}

TEST_F(EmailImportTest, AbortBeforeTheRunImportsNothing) {
  WriteFile(mailbox_, Message("one", "Mon, 1 Jan 2024 10:00:00 +0000"));
  ASSERT_EQ(SaveProfile("Work"), 0u);
  const uint32_t handle = KSIMP_InitEmailImportUsingFileHandle(0);
  ASSERT_EQ(KSIMP_AddEmailProfileToImport(handle, "Work"), 1u);
  EXPECT_GT(KSIMP_GetTotalBytes(handle), 0u) << "the profile's mailbox counts";
  EXPECT_EQ(KSIMP_Abort(handle), 1u);
  uint32_t added = 99;
  KSIMP_Import(handle, 0, 0, nullptr, &added);
  EXPECT_EQ(added, 0u);
  EXPECT_TRUE(Documents().empty());
}

TEST_F(EmailImportTest, KeepsProfilesThroughTheExports) {
  ASSERT_EQ(SaveProfile("b"), 0u);
  ASSERT_EQ(SaveProfile("a"), 0u);
  EXPECT_EQ(SaveProfile("a"), KSIMP_ERR_PROFILE_DUPLICATE);
  EXPECT_EQ(SaveProfile("a/b"), KSIMP_ERR_PROFILE_NAME_CHARACTERS);
  EXPECT_EQ(KSIMP_SaveEmailProfile("TYPE=1404\nNAME=c\n", 0), KSIMP_ERR_PROFILE_INCOMPLETE);
  EXPECT_EQ(KSIMP_SaveEmailProfile("COLOUR=blue\n", 0), KSIMP_ERR_SET_PARAMETERS);

  char name[64] = {};
  ASSERT_EQ(KSIMP_GetEmailProfileName(0, name, sizeof name), 1u);
  EXPECT_STREQ(name, "b");
  ASSERT_EQ(KSIMP_GetEmailProfileName(1, name, sizeof name), 1u);
  EXPECT_STREQ(name, "a");
  EXPECT_EQ(KSIMP_GetEmailProfileName(2, name, sizeof name), 0u);
  ASSERT_EQ(KSIMP_SaveEmailProfile("TYPE=1405\nNAME=s\nNAME_KESTRO=/x.kst\nIMAP_SERVER=imap\n"
                                   "IMAP_PASSWORD=hunter2\n",
                                   0),
            0u);
  // How the password is kept on disk is the profile file's own test; the
  // export never hands it out.
  EXPECT_EQ(ProfileText("s").find("PASSWORD"), std::string::npos);
  char description[64] = {};
  ASSERT_EQ(KSIMP_GetEmailProfileDescription("a", description, sizeof description), 1u);
  EXPECT_STREQ(description, "All Messages");

  char caption[64] = {};
  ASSERT_EQ(KSIMP_GetMessageCaption(KSIMP_ERR_PROFILE_INCOMPLETE, caption, sizeof caption), 1u);
  EXPECT_STREQ(caption, "Incompete Email Profile");

  EXPECT_EQ(KSIMP_DeleteEmailProfile("b"), 1u);
  EXPECT_EQ(KSIMP_DeleteEmailProfile("b"), 0u);
  ASSERT_EQ(KSIMP_GetEmailProfileName(0, name, sizeof name), 1u);
  EXPECT_STREQ(name, "a");
}

TEST(EmailDialogs, WizardAndProfileListAreNotShown) {
  CImportSession session;
  int window = 0;
  EXPECT_EQ(session.ImportEmailWizard(nullptr), 0u);
  EXPECT_EQ(session.GetLastImportError(0), KSIMP_ERR_NO_PARENT_WINDOW);
  EXPECT_FALSE(session.IsLogData(0));
  EXPECT_EQ(session.ImportEmailWizard(&window), 0u);
  EXPECT_TRUE(session.IsLogData(0));
  EXPECT_EQ(session.OwnerWindow(), &window);
  EXPECT_EQ(KSIMP_ImportEmailProfile(), 0u);
}

}  // namespace
