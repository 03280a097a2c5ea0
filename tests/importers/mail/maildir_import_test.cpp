// Maildir folders and single saved messages imported through the exported
// interface: delivery order, the Maildir++ sub-folders as mailboxes of their
// own, junk left out with a line in the log and nothing else lost, links
// never followed out of the folder.  The corpus's Maildir and messages are
// held against Python's reader by compare_mail.py.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "importers/import_fixture.h"
#include "importers/mail/maildir_checkpoint.h"
#include "importers/mail/maildir_tree.h"

namespace {

namespace fs = std::filesystem;

std::string Message(const std::string& subject) {
  return "Return-Path: <a@example.com>\nSubject: " + subject + "\nFrom: a@example.com\n\nText of " +
         subject + ".\n";
}

class MaildirImportTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    maildir_ = dir_.path() / "Mail";
    MakeMaildir(maildir_);
  }

  static void MakeMaildir(const fs::path& folder) {
    for (const char* sub : {"cur", "new", "tmp"}) fs::create_directories(folder / sub);
  }

  ImportOutcome ImportMaildir(const fs::path& folder) {
    return Import({QueuedFile(folder.string(), KSIMP_TYPE_MAILDIR)});
  }

  fs::path maildir_;
};

TEST_F(MaildirImportTest, MessagesComeInDeliveryOrderWhateverTheirFolderAndFlags) {
  WriteFile(maildir_ / "cur" / "1220863087.12663_15.host:2,S", Message("third"));
  WriteFile(maildir_ / "new" / "1220863087.12663_5.host", Message("second"));
  WriteFile(maildir_ / "cur" / "1220863042.12663_1.host!2,RS", Message("first"));
  WriteFile(maildir_ / "new" / "1300000000.M1P2.host", Message("fourth"));
  WriteFile(maildir_ / "tmp" / "1200000000.1.host", Message("still being delivered"));

  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  ASSERT_EQ(Queue(handle, QueuedFile(maildir_.string(), KSIMP_TYPE_MAILDIR)), 1u);
  uint64_t bytes = 0;
  for (const char* sub : {"cur", "new"}) {
    for (const auto& entry : fs::directory_iterator(maildir_ / sub)) bytes += entry.file_size();
  }
  EXPECT_EQ(KSIMP_GetTotalBytes(handle), bytes) << "the total is known when it is queued";
  uint32_t added = 0;
  ASSERT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u);
  EXPECT_EQ(added, 4u);

  const std::vector<std::string> documents = Documents();
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"first", "second", "third", "fourth"}));
  ASSERT_FALSE(documents.empty());
  // The first line of the file is a header like any other, and the MailBox
  // is the Maildir's folder name.
  EXPECT_EQ(documents[0],
            "From[ a@example.com ]\r\nSubject[ first ]\r\nMailBox[ Mail ]\r\n"
            "Message[ \r\n\r\nText of first.\r\n ]");
}

TEST_F(MaildirImportTest, MaildirPlusPlusSubFoldersAreMailboxesOfTheirOwn) {
  WriteFile(maildir_ / "cur" / "100.a.host:2,S", Message("inbox"));
  MakeMaildir(maildir_ / ".Sent");
  WriteFile(maildir_ / ".Sent" / "cur" / "50.a.host:2,S", Message("sent"));
  MakeMaildir(maildir_ / ".Lists.kernel");
  WriteFile(maildir_ / ".Lists.kernel" / "new" / "70.a.host", Message("list"));
  // A dotted folder that is no Maildir, and a link to a Maildir outside.
  fs::create_directories(maildir_ / ".cache");
  WriteFile(maildir_ / ".cache" / "100.x.host", Message("cache"));
  const fs::path outside = dir_.path() / "Outside";
  MakeMaildir(outside);
  WriteFile(outside / "cur" / "1.a.host:2,S", Message("outside"));
  fs::create_directory_symlink(outside, maildir_ / ".Linked");

  const ImportOutcome outcome = ImportMaildir(maildir_);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  const std::vector<std::string> documents = Documents();
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"inbox", "list", "sent"}));
  EXPECT_NE(documents[1].find("MailBox[ Lists.kernel ]"), std::string::npos) << documents[1];
  EXPECT_NE(documents[2].find("MailBox[ Sent ]"), std::string::npos) << documents[2];
}

TEST_F(MaildirImportTest, JunkIsLoggedAndSkippedAndTheMessagesAroundItStay) {
  WriteFile(maildir_ / "cur" / "1.a.host:2,S", Message("one"));
  WriteFile(maildir_ / "cur" / "2.a.host:2,S", "");
  WriteFile(maildir_ / "cur" / "3.a.host:2,S", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
  fs::create_directories(maildir_ / "cur" / "4.a.host:2,S");
  const std::string secret = WriteFile(dir_, "secret.txt", Message("secret"));
  fs::create_symlink(secret, maildir_ / "cur" / "5.a.host:2,S");
  ASSERT_EQ(::mkfifo((maildir_ / "new" / "6.a.host").c_str(), 0600), 0);
  WriteFile(maildir_ / "new" / "7.a.host", Message("seven"));
  WriteFile(maildir_ / "cur" / ".hidden", Message("a mail program's own file"));

  const ImportOutcome outcome = ImportMaildir(maildir_);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "junk is no error";
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"one", "seven"}));
  for (const char* line : {"/cur/2.a.host:2,S: skipped, it is empty.",
                           "/cur/3.a.host:2,S: skipped, it does not read as a mail message.",
                           "/cur/4.a.host:2,S: skipped, it is not a regular file.",
                           "/cur/5.a.host:2,S: skipped, a symbolic link is not followed.",
                           "/new/6.a.host: skipped, it is not a regular file.",
                           ": 5 file(s) of the Maildir were not imported (see above)."}) {
    EXPECT_NE(outcome.log.find(line), std::string::npos) << line << "\n" << outcome.log;
  }
}

TEST_F(MaildirImportTest, WhatIsNoMaildirIsRefusedWithItsReason) {
  const fs::path plain = dir_.path() / "plain";
  fs::create_directories(plain);
  ImportOutcome outcome = ImportMaildir(plain);
  EXPECT_EQ(outcome.error, KSIMP_ERR_WRONG_FILE_TYPE);
  EXPECT_NE(outcome.log.find("is not a Maildir: it holds neither cur/ nor new/."),
            std::string::npos)
      << outcome.log;

  outcome = ImportMaildir(dir_.path() / "missing");
  EXPECT_NE(outcome.error, KSIMP_ERR_INTERNAL);
  EXPECT_EQ(outcome.documents_added, 0u);

  // An empty Maildir is no failure.
  outcome = ImportMaildir(maildir_);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_TRUE(MaildirTree::IsMaildir(maildir_.string()));
  EXPECT_FALSE(MaildirTree::IsMaildir(plain.string()));
}

TEST_F(MaildirImportTest, SingleMessagesOneDocumentEachAndJunkRefused) {
  const fs::path saved = dir_.path() / "Saved";
  fs::create_directories(saved);
  const std::string one = WriteFile(saved.string() + "/one.eml", Message("one"));
  const std::string two =
      WriteFile(saved.string() + "/two.eml",
                "From x@example.com Mon Jan  1 10:00:00 2024\r\n" + Message("two"));
  ImportOutcome outcome = Import({QueuedFile(one + "|" + two, KSIMP_TYPE_EML)});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  std::vector<std::string> documents = Documents();
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"one", "two"}));
  EXPECT_NE(documents[0].find("MailBox[ Saved ]"), std::string::npos) << documents[0];

  FreshDatabase();
  const std::string empty = WriteFile(saved.string() + "/empty.eml", "");
  const std::string binary =
      WriteFile(saved.string() + "/photo.eml", std::string("\xff\xd8\xff\xe0\0\x10JFIF", 10));
  outcome = Import({QueuedFile(empty, KSIMP_TYPE_EML), QueuedFile(binary, KSIMP_TYPE_EML),
                    QueuedFile(one, KSIMP_TYPE_EML)});
  EXPECT_EQ(outcome.error, KSIMP_ERR_WRONG_FILE_TYPE);
  EXPECT_NE(outcome.log.find("empty.eml: the file is empty; it is not imported."),
            std::string::npos)
      << outcome.log;
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"one"}))
      << "the files after a refused one are imported";
}

TEST_F(MaildirImportTest, AMessageReadMeanwhileIsFoundInCurUnderItsNewName) {
  WriteFile(maildir_ / "new" / "1300000000.M1P2.host", Message("moved"));
  std::string why;
  const std::optional<MaildirTree> tree = MaildirTree::Open(maildir_.string(), &why);
  ASSERT_TRUE(tree) << why;
  const std::optional<MaildirFolder> folder = tree->OpenFolder("", &why);
  ASSERT_TRUE(folder) << why;
  ASSERT_EQ(folder->messages().size(), 1u);
  const MaildirMessage& listed = folder->messages()[0];
  fs::rename(maildir_ / "new" / "1300000000.M1P2.host",
             maildir_ / "cur" / "1300000000.M1P2.host:2,S");

  std::string bytes;
  EXPECT_EQ(folder->Read(listed, 1 << 20, &bytes, &why), MaildirFolder::ReadResult::kGone);
  const std::optional<MaildirMessage> moved = folder->MovedToCur(listed);
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->file_name, "1300000000.M1P2.host:2,S");
  EXPECT_EQ(folder->Read(*moved, 1 << 20, &bytes, &why), MaildirFolder::ReadResult::kRead);
  EXPECT_EQ(bytes, Message("moved"));
  EXPECT_EQ(folder->Read(*moved, 10, &bytes, &why), MaildirFolder::ReadResult::kTooLarge);
  EXPECT_NE(why.find("more than the 10 a message may hold"), std::string::npos) << why;
}

TEST_F(MaildirImportTest, CheckpointIsTheSecondAfterTheLatestDeliveryOfThisVeryFolder) {
  const std::string path = maildir_.string();
  WriteFile(maildir_ / "cur" / "1000.a.host:2,S", Message("old"));
  MakeMaildir(maildir_ / ".Sent");
  WriteFile(maildir_ / ".Sent" / "cur" / "2000.a.host:2,S", Message("latest, in a sub-folder"));
  const std::optional<MailboxCheckpoint> taken = TakeMaildirCheckpoint(path, 5000);
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->offset, 2001u);
  // A delivery in the second of the listing: that second is read again.
  WriteFile(maildir_ / "new" / "5000.b.host", Message("now"));
  EXPECT_EQ(TakeMaildirCheckpoint(path, 5000)->offset, 5000u);
  EXPECT_FALSE(TakeMaildirCheckpoint((dir_.path() / "none").string(), 5000));

  MailboxCheckpoints checkpoints;
  checkpoints.Set(*taken);
  const ResumePoint resume = MaildirResumePoint(checkpoints, path);
  EXPECT_EQ(resume.kind, ResumePoint::Kind::kFromOffset);
  EXPECT_EQ(resume.offset, 2001u);
  // Read back from the profile's state: MaildirProfileTest, run after run.

  // Replaced by another folder of the same name: read whole again.
  fs::rename(maildir_, dir_.path() / "Old");
  MakeMaildir(maildir_);
  EXPECT_EQ(MaildirResumePoint(checkpoints, path).kind, ResumePoint::Kind::kFromStart);
  EXPECT_EQ(MaildirResumePoint(MailboxCheckpoints(), path).kind, ResumePoint::Kind::kFromStart);
}

}  // namespace
