// Attachment files named inside a message are read only from the mail store:
// the mailbox's folder tree and the folders the user named, after ".." and
// symbolic links, regular files only, up to the size limit.
#include "importers/mail/mail_store.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "importers/import_fixture.h"

namespace {

namespace fs = std::filesystem;

class MailStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mailbox_ = WriteFile(store_ / "In.mbx", "");
    WriteFile(store_ / "Attach" / "report.doc", "report");
    secret_ = WriteFile(dir_.path() / "home" / ".ssh" / "id_rsa", "secret key");
    WriteFile(extra_ / "scan.pdf", "scan");
    fs::create_symlink(secret_, store_ / "Attach" / "innocent.txt");
  }

  // What the store gives for `name`: the content, or "refused: " and why.
  std::string Fetch(MailStore& store, const std::string& name) {
    std::string why;
    std::string content;
    const auto path = store.Find(name, &why);
    if (!path || !store.Read(*path, &content, &why)) return "refused: " + why;
    return content;
  }

  TempDir dir_;
  fs::path store_ = dir_.path() / "mail";
  fs::path extra_ = dir_.path() / "elsewhere";
  std::string mailbox_;
  std::string secret_;
};

TEST_F(MailStoreTest, OnlyRegularFilesInsideTheStoreAreRead) {
  AttachmentRules rules;
  rules.folders.push_back(extra_.string());
  MailStore store(mailbox_, rules);
  EXPECT_EQ(Fetch(store, (store_ / "Attach" / "report.doc").string()), "report");
  EXPECT_EQ(Fetch(store, "Attach/report.doc"), "report") << "relative to the mailbox";
  EXPECT_EQ(Fetch(store, (extra_ / "scan.pdf").string()), "scan") << "a folder the user named";
  // As the mail program on Windows wrote it: found by its file name.
  EXPECT_EQ(Fetch(store, "C:\\Eudora\\Attach\\report.doc"), "report");

  const std::string outside[] = {
      secret_,  // absolute, elsewhere
      (store_ / "Attach" / ".." / ".." / "home" / ".ssh" / "id_rsa").string(),  // ".."
      (store_ / "Attach" / "innocent.txt").string(),  // a link out of the store
      "C:\\Eudora\\Attach\\innocent.txt",             // the same, by name
      "/dev/zero",                                    // a device
      "/etc/passwd",
  };
  for (const std::string& name : outside) {
    const std::string got = Fetch(store, name);
    EXPECT_EQ(got.rfind("refused: ", 0), 0u) << name << " gave " << got;
    EXPECT_NE(got, "refused: ") << name << ": every refusal says why";
  }
  EXPECT_EQ(Fetch(store, "C:\\Eudora\\Attach\\missing.doc").rfind("refused: No file", 0), 0u);
  EXPECT_EQ(Fetch(store, (store_ / "gone.doc").string()), "refused: ") << "missing: no reason";
}

TEST_F(MailStoreTest, AFileOverTheLimitIsRefused) {
  AttachmentRules rules;
  rules.max_bytes = 5;
  MailStore store(mailbox_, rules);
  EXPECT_EQ(Fetch(store, (store_ / "Attach" / "report.doc").string()).rfind("refused: ", 0), 0u);
  rules.max_bytes = 6;
  MailStore larger(mailbox_, rules);
  EXPECT_EQ(Fetch(larger, (store_ / "Attach" / "report.doc").string()), "report");
}

class MailStoreImport : public ImportFixture {};

TEST_F(MailStoreImport, AMessageNamingAFileOutsideTheStoreAttachesNothingAndSaysWhy) {
  const std::string secret = WriteFile(dir_, "private/key.txt", "secret");
  QueuedFile file = Source(
      "mail/std.mbx", "From a@x d\r\nX-Attachments: " + secret + "\r\nSubject: Hi\r\n\r\nbody\r\n",
      KSIMP_TYPE_MBX);
  file.save_attachments = 1;
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_NE(outcome.log.find("lies outside the mail store"), std::string::npos) << outcome.log;
  EXPECT_NE(
      outcome.log.find("Could not open attachment file \"" + secret + "\" for message \"Hi\"\r\n"),
      std::string::npos)
      << outcome.log;
  const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(EngGetAttachmentCount(db, EngFirstDocument(db, KSENG_WALK_DOCUMENTS)), 0u);
  EngCloseDatabase(db);
}

}  // namespace
