// The Outlook Express import (file type 1059) through the exported
// interface: every real folder of the corpus, a store folder, the files it
// refuses, and folders cut short or damaged, which keep the messages that
// can be read and end in a numbered error.
#include "importers/mail/outlook_express_import.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "importers/import_fixture.h"
#include "importers/mail/dbx_test_file.h"

namespace {

constexpr int32_t kOutlookExpress = KSIMP_TYPE_OUTLOOK_EXPRESS;
constexpr const char* kNoErrorRecorded = "no error was to be recorded";

// The value of the field `name` in a document, or "" when it has none.
std::string Field(const std::string& document, const std::string& name) {
  const std::string start = name + "[ ";
  const size_t at = document.rfind(start, 0) == 0 ? 0 : document.find("\r\n" + start);
  if (at == std::string::npos) return "";
  const size_t value = document.find(start, at) + start.size();
  return document.substr(value, document.find(" ]", value) - value);
}

std::string Message(size_t number) {
  return "From: someone@example.com\r\nSubject: note " + std::to_string(number) +
         "\r\nDate: Mon, 10 Feb 2025 16:26:25 -0300\r\n\r\nText of note " + std::to_string(number) +
         ".\r\n";
}

class OutlookExpressImportTest : public ImportFixture {
 protected:
  QueuedFile Folder(const std::filesystem::path& path) {
    return QueuedFile(path.string(), kOutlookExpress);
  }
  // A folder file written to the test's folder.
  QueuedFile Written(const std::string& name, const std::string& bytes) {
    return QueuedFile(WriteFile(dir_, name, bytes), kOutlookExpress);
  }
};

// All real folders in one run, the store last: its Inbox holds the one
// message, its Outbox none (imported on its own too), and its Folders.dbx
// and Offline.dbx are the store's own databases, passed over without a word.
TEST_F(OutlookExpressImportTest, EveryRealFolderImportsItsMessagesWithTheirSubjectsDecoded) {
  if (!std::filesystem::exists(Corpus("dbx") / "oe6-store")) GTEST_SKIP() << "no corpus";
  std::vector<QueuedFile> files;
  for (const char* name : {"perl-test.dbx", "perl-test1.dbx", "iped-test_OutlookDBX.dbx",
                           "oe6-store/Outbox.dbx", "oe6-store"}) {
    files.push_back(Folder(Corpus("dbx") / name));
  }
  const ImportOutcome outcome = Import(files);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << kNoErrorRecorded;
  EXPECT_EQ(outcome.log, "");
  ASSERT_EQ(outcome.documents_added, 31u);
  std::map<std::string, size_t> per_mailbox;
  std::vector<std::string> subjects;
  for (const std::string& document : Documents()) {
    ++per_mailbox[Field(document, "MailBox")];
    subjects.push_back(Field(document, "Subject"));
    EXPECT_NE(Field(document, "From"), "") << document;
    EXPECT_NE(document.find("\r\nMessage[ "), std::string::npos) << document;
  }
  // As the corpus records them.
  EXPECT_EQ(per_mailbox,
            (std::map<std::string, size_t>{
                {"perl-test", 1}, {"perl-test1", 1}, {"iped-test_OutlookDBX", 28}, {"Inbox", 1}}));
  EXPECT_EQ(subjects[0], "Please read you won't be sorry........");
  EXPECT_EQ(subjects[1], "[fmII] centericq 4.7.5 released (Default branch)");
  // The index lists the Portuguese folder by subject, two of them empty.
  EXPECT_EQ(std::count(subjects.begin() + 2, subjects.end(), ""), 2);
  EXPECT_EQ(subjects[5],
            "Fw: (Reminder) Share your experience with Copilot in github.com and win $100!");
  EXPECT_NE(std::find_if(subjects.begin(), subjects.end(),
                         [](const std::string& s) { return s.starts_with("Fw: Católica EAD"); }),
            subjects.end());
  EXPECT_EQ(subjects[30], "Welcome to Outlook Express 6");
}

// The store's progress runs over its .dbx files, whatever else lies there.
TEST_F(OutlookExpressImportTest, AStoreFolderOfWrittenFoldersTakesThemByName) {
  const std::filesystem::path store = dir_.path() / "store";
  std::filesystem::create_directory(store);
  WriteFile(store / "Sent Items.dbx", DbxTestFile().Add(Message(3)).Build());
  WriteFile(store / "Inbox.DBX", DbxTestFile().Add(Message(1)).Add(Message(2)).Build());
  WriteFile(store / "Folders.dbx", DbxTestFile().Kind("\xC6\xFD\x74\x6F").Build());
  WriteFile(store / "notes.txt", std::string(5000, 'x'));
  WriteFile(store / "stray.dbx", Message(8));
  uint64_t dbx_bytes = 0;
  for (const char* name : {"Sent Items.dbx", "Inbox.DBX", "Folders.dbx", "stray.dbx"}) {
    dbx_bytes += std::filesystem::file_size(store / name);
  }
  const ImportOutcome outcome = Import({Folder(store)});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.total_bytes, dbx_bytes);
  ASSERT_EQ(outcome.documents_added, 3u);
  const std::vector<std::string> documents = Documents();
  EXPECT_EQ(Field(documents[0], "MailBox"), "Inbox");
  EXPECT_EQ(Field(documents[1], "Subject"), "note 2");
  EXPECT_EQ(Field(documents[2], "MailBox"), "Sent Items");
  // A .dbx file that is none is named in the log; the folder list is not.
  EXPECT_NE(outcome.log.find("stray.dbx is not an Outlook Express folder file"), std::string::npos)
      << outcome.log;
  EXPECT_EQ(outcome.log.find("Folders.dbx"), std::string::npos) << outcome.log;
}

TEST_F(OutlookExpressImportTest, FilesWithoutMessagesAreRefusedAsTheWrongType) {
  struct Case {
    QueuedFile file;
    const char* logged;
  };
  std::filesystem::create_directory(dir_.path() / "empty-store");
  const Case cases[] = {
      {Written("Folders.dbx", DbxTestFile().Kind("\xC6\xFD\x74\x6F").Build()),
       "is the list of folders of an Outlook Express store and holds no messages"},
      {Written("Offline.dbx", DbxTestFile().Kind("\x30\x9D\xFE\x26").Build()),
       "is an Outlook Express file that holds no messages"},
      {Written("mail.dbx", "From a@x Tue Jun 01 12:00:00 2004\r\n" + Message(1)),
       "is not an Outlook Express folder file (.dbx)"},
      {Written("empty.dbx", ""), "is not an Outlook Express folder file (.dbx)"},
      {Folder(dir_.path() / "empty-store"), "no Outlook Express folder file of messages"},
  };
  for (const Case& c : cases) {
    FreshDatabase();
    const ImportOutcome outcome = Import({c.file});
    EXPECT_EQ(outcome.result, 0u) << c.file.path;
    EXPECT_EQ(outcome.error, KSIMP_ERR_WRONG_FILE_TYPE) << c.file.path;
    EXPECT_EQ(outcome.documents_added, 0u) << c.file.path;
    EXPECT_NE(outcome.log.find(c.logged), std::string::npos) << outcome.log;
  }
}

TEST_F(OutlookExpressImportTest, ACutFolderKeepsTheMessagesBeforeTheCut) {
  DbxTestFile writer;
  for (size_t i = 0; i < 5; ++i) writer.Add(Message(i), "note " + std::to_string(i));
  const std::string file = writer.Build();
  // Inside the fourth message's text block.
  const std::string cut = file.substr(0, writer.block_offsets[3][0] + 30);
  // A file before it and one after it are imported whole.
  const ImportOutcome outcome = Import(
      {Written("Before.dbx", DbxTestFile().Add(Message(10)).Build()), Written("Cut.dbx", cut),
       Written("After.dbx", DbxTestFile().Add(Message(11)).Build())});
  EXPECT_EQ(outcome.result, 1u) << "the last file succeeded";
  EXPECT_EQ(outcome.error, KSIMP_ERR_END_OF_FILE) << outcome.log;
  EXPECT_EQ(outcome.documents_added, 5u);
  EXPECT_EQ(Subjects(),
            (std::vector<std::string>{"note 10", "note 0", "note 1", "note 2", "note 11"}));
  EXPECT_NE(outcome.log.find("Cut.dbx: the block of the message's text at offset"),
            std::string::npos)
      << outcome.log;
  EXPECT_NE(outcome.log.find("the message \"note 3\" is not imported"), std::string::npos);
  EXPECT_NE(outcome.log.find("the record of a message at offset"), std::string::npos);

  uint32_t documents = 0, error = 0, whole = 1;
  ASSERT_EQ(
      KSIMP_GetFileOutcome(outcome.handle, 1, nullptr, 0, nullptr, &documents, &error, &whole), 1u);
  EXPECT_EQ(documents, 3u);
  EXPECT_EQ(error, KSIMP_ERR_END_OF_FILE);
  EXPECT_EQ(whole, 0u);
}

TEST_F(OutlookExpressImportTest, ADamagedIndexEndsCleanlyWithItsError) {
  DbxTestFile writer(1);
  for (size_t i = 0; i < 7; ++i) writer.Add(Message(i));
  std::string file = writer.Build();
  // The last node's child leads back to the root.
  DbxTestFile::Put32(file, writer.node_offsets.back() + 0x18 + 4, writer.node_offsets[0]);
  const ImportOutcome outcome = Import({Written("Looping.dbx", file)});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_GE(outcome.documents_added, 6u);
  EXPECT_EQ(Documents().size(), outcome.documents_added);
  EXPECT_NE(outcome.log.find("the message index is damaged: it leads back to its node at offset " +
                             std::to_string(writer.node_offsets[0])),
            std::string::npos)
      << outcome.log;
}

TEST_F(OutlookExpressImportTest, MessagesWithoutTextAreCountedInTheLog) {
  const ImportOutcome outcome = Import({Written(
      "News.dbx",
      DbxTestFile().Add(Message(1)).AddWithoutText("fetched later").Add(Message(2)).Build())});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_NE(outcome.log.find("News.dbx: 1 messages of the folder have no text in it"),
            std::string::npos)
      << outcome.log;
}

TEST(OutlookExpressRecognition, KnowsFolderFilesAndStoreFolders) {
  TempDir dir;
  COutlookExpress importer;
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "Inbox.dbx", DbxTestFile().Build())), 1);
  EXPECT_EQ(importer.CheckFile(
                WriteFile(dir, "Folders.dbx", DbxTestFile().Kind("\xC6\xFD\x74\x6F").Build())),
            0);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "text.txt", "From: a\r\n\r\nb")), 0);
  EXPECT_EQ(importer.CheckFile(dir.path().string()), 1);
  EXPECT_EQ(importer.CheckFile((dir.path() / "missing.dbx").string()), 0);
}

}  // namespace
