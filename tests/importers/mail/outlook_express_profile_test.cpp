// Outlook Express profiles through the e-mail exports: a profile that
// imports new messages from a store folder takes each message once, run
// after run, whether the folder gained a message or was compacted (a new
// file with the same numbers); a folder rebuilt under the same name is read
// again by the profile's start date; a profile naming one folder file reads
// only that one.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/scoped_env.h"
#include "importers/mail/dbx_test_file.h"
#include "importers/import_fixture.h"

namespace {

namespace fs = std::filesystem;

std::string Note(const std::string& subject, const std::string& date = "Mon, 10 Feb 2025") {
  return "From: someone@example.com\r\nSubject: " + subject + "\r\nDate: " + date +
         " 16:26:25 -0300\r\n\r\nText of " + subject + ".\r\n";
}

class OutlookExpressProfileTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    store_ = dir_.path() / "Store";
    fs::create_directories(store_);
    // The store's list of folders sits beside the folders of messages.
    WriteFolder("Folders.dbx", DbxTestFile().Kind("\xC6\xFD\x74\x6F"));
  }

  void WriteFolder(const std::string& name, DbxTestFile folder) {
    WriteFile(store_ / name, folder.Build());
  }

  uint32_t SaveProfile(const std::string& name, const std::string& selection_lines) {
    const std::string text = "TYPE=" + std::to_string(KSIMP_MAIL_OUTLOOK_EXPRESS) +
                             "\nNAME=" + name + "\nNAME_KESTRO=" + database_ + "\nTYPE_MSG=0\n" +
                             "MAILROOT=" + store_.string() + "\n" + selection_lines;
    return KSIMP_SaveEmailProfile(text.c_str(), 0);
  }

  ImportOutcome Run(const std::string& profile) {
    const ImportOutcome run = RunEmailProfiles({profile});
    EXPECT_EQ(run.result, 1u) << run.log;
    return run;
  }


  TempDir config_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_.path().string()};
  fs::path store_;
};

TEST_F(OutlookExpressProfileTest, NewMessagesOfAStoreAreImportedOnce) {
  WriteFolder("Inbox.dbx", DbxTestFile().Add(Note("one"), "one").Add(Note("two"), "two"));
  WriteFolder("Sent Items.dbx", DbxTestFile().Add(Note("sent"), "sent"));
  ASSERT_EQ(SaveProfile("Store", "ALL=Yes\n"), 0u);

  ImportOutcome run = Run("Store");
  EXPECT_EQ(run.documents_added, 3u) << run.log;
  EXPECT_EQ(run.log.find("Folders.dbx"), std::string::npos) << "the folder list is no mailbox";
  run = Run("Store");
  EXPECT_EQ(run.documents_added, 0u) << run.log;
  EXPECT_NE(run.log.find("\"Store\" Profile - No new messages since last import."),
            std::string::npos)
      << run.log;

  // A message arrives: the program numbers it after the others.
  const auto inbox = [] {
    return DbxTestFile().Add(Note("one"), "one").Add(Note("two"), "two").Add(Note("three"), "three");
  };
  WriteFolder("Inbox.dbx", inbox());
  EXPECT_EQ(Run("Store").documents_added, 1u);
  // Compacted: a new file, the same messages under the same numbers.
  fs::remove(store_ / "Inbox.dbx");
  WriteFolder("Inbox.dbx", inbox());
  EXPECT_EQ(Run("Store").documents_added, 0u);
  for (const char* subject : {"one", "two", "three", "sent"}) {
    EXPECT_EQ(CountOf(subject), 1u) << subject;
  }

  // Rebuilt: other messages under the old numbers.  The checkpoint no
  // longer stands, so the start date (today, from the last run) decides.
  WriteFolder("Inbox.dbx", DbxTestFile()
                               .Add(Note("old", "Mon, 10 Feb 2025"), "old")
                               .Add(Note("future", "Fri, 1 Jan 2100"), "future")
                               .Add(Note("four"), "four"));
  run = Run("Store");
  EXPECT_EQ(run.documents_added, 1u) << run.log;
  EXPECT_EQ(CountOf("future"), 1u);
  EXPECT_EQ(CountOf("old") + CountOf("four"), 0u);
}

TEST_F(OutlookExpressProfileTest, AProfileOfOneFolderFileReadsThatOneOnly) {
  WriteFolder("Inbox.dbx", DbxTestFile().Add(Note("in"), "in"));
  WriteFolder("Drafts.dbx", DbxTestFile().Add(Note("draft"), "draft"));
  ASSERT_EQ(SaveProfile("Inbox", "MAILBOX=Inbox.dbx\n"), 0u);
  EXPECT_EQ(Run("Inbox").documents_added, 1u);
  EXPECT_EQ(CountOf("in"), 1u);
  EXPECT_EQ(CountOf("draft"), 0u);
}

}  // namespace
