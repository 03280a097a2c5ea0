// The mailbox importers (file types 1005 and 1060): where messages begin in
// each separator mode, recognition by the first bytes, and whole mailboxes
// imported through the exported interface: one document per message, the
// separator date, the full header, saved attachment files and the log line
// for a missing one.  The corpus's mailboxes are mail_corpus_test's, held
// against another reader.
#include "importers/mail/mailbox_import.h"

#include <gtest/gtest.h>

#include "importers/import_fixture.h"

namespace {

using Docs = std::vector<std::string>;

constexpr int32_t kEudora = 1005;
constexpr int32_t kStandard = 1060;

std::vector<std::string> RawTexts(const std::string& text, MailboxReader::Mode mode) {
  MailboxReader reader(text, mode);
  std::vector<std::string> raws;
  while (auto message = reader.Next()) raws.emplace_back(message->raw_text);
  EXPECT_DOUBLE_EQ(reader.Progress(), 1.0);
  return raws;
}

TEST(MailboxReader, StandardMessagesBeginAtALineStartingWithFrom) {
  const std::string mailbox =
      "From a@x Tue Jun 01 12:00:00 2004\r\nSubject: one\r\n\r\nsee From here\r\n"
      "From b@x Wed Jun 02 12:00:00 2004\r\nSubject: two\r\n\r\nlast";
  EXPECT_EQ(RawTexts(mailbox, MailboxReader::Mode::kStandard),
            (Docs{" Tue Jun 01 12:00:00 2004\r\nSubject: one\r\n\r\nsee From here\r\n",
                  " Wed Jun 02 12:00:00 2004\r\nSubject: two\r\n\r\nlast"}));
  // Eudora only splits at its own separator, wherever it stands.
  EXPECT_EQ(RawTexts(mailbox, MailboxReader::Mode::kEudora).size(), 1u);
  EXPECT_EQ(RawTexts("From ???@??? d1\r\nFrom x\r\nb1\r\nFrom ???@??? d2\r\nb2",
                     MailboxReader::Mode::kEudora),
            (Docs{" d1\r\nFrom x\r\nb1\r\n", " d2\r\nb2"}));
}

TEST(MailboxReader, LineEndsBecomeCrLfAndLeadingJunkIsSkipped) {
  EXPECT_EQ(
      RawTexts("\nFrom a d\nS: 1\n\nx\nFrom b d\rS: 2\r\ry\r", MailboxReader::Mode::kStandard),
      (Docs{" d\r\nS: 1\r\n\r\nx\r\n", " d\r\nS: 2\r\n\r\ny\r\n"}));
  // A separator line with only an address keeps the next line whole.
  EXPECT_EQ(RawTexts("From 123@xxx\r\nSubject: s\r\n\r\nb", MailboxReader::Mode::kStandard),
            (Docs{"\r\nSubject: s\r\n\r\nb"}));
  // Also when no blank follows anywhere after it (found by fuzz_mailbox_reader).
  EXPECT_EQ(RawTexts("From 123@xxx\nSubject:s", MailboxReader::Mode::kStandard),
            (Docs{"\r\nSubject:s"}));
  EXPECT_TRUE(RawTexts("no separator at all", MailboxReader::Mode::kStandard).empty());
  EXPECT_TRUE(RawTexts("", MailboxReader::Mode::kEudora).empty());
}

TEST(MailboxRecognition, EachTypeKnowsItsFirstBytes) {
  TempDir dir;
  CIMPEudoraImport eudora;
  CIMPEmailImport standard;
  struct Case {
    const char* name;
    std::string content;
    int eudora, standard;
  };
  const Case cases[] = {{"eudora.mbx", "From ???@??? Tue\r\n", 1, 1},
                        {"std.mbx", "From a@b Tue\r\n", 0, 1},
                        {"crlf.mbx", "\r\nFrom a@b\r\n", 0, 1},
                        {"text.mbx", "Subject: x\r\n", 0, 0}};
  for (const Case& c : cases) {
    const std::string path = WriteFile(dir, c.name, c.content);
    EXPECT_EQ(eudora.CheckFile(path), c.eudora) << c.name;
    EXPECT_EQ(standard.CheckFile(path), c.standard) << c.name;
  }
  EXPECT_EQ(standard.CheckFile(dir.file("absent.mbx")), 0);
}

class MailboxImport : public ImportFixture {};

TEST_F(MailboxImport, EachMessageBecomesADocumentOfItsFields) {
  const ImportOutcome outcome = Import({Source(
      "In.mbx",
      "From ???@??? Tue Jun 01 12:00:00 2004\r\nFrom: Ann\r\nSubject: Hello\r\n\r\nHi\r\n"
      "From ???@??? Wed Jun 02 08:30:00 2004\r\nDate: 3 Jun 2004\r\nSubject: Two\r\n\r\nBye\r\n",
      kEudora)});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_EQ(Documents(),
            (Docs{"From[ Ann ]\r\nDate[ Tue, 01 Jun 2004 12:00:00 ]\r\nDateSent[ 06/01/2004 ]\r\n"
                  "Subject[ Hello ]\r\nMailBox[ In ]\r\nMessage[ \r\n\r\nHi\r\n ]",
                  "Date[ 3 Jun 2004 ]\r\nDateSent[ 06/03/2004 ]\r\nSubject[ Two ]\r\n"
                  "MailBox[ In ]\r\nMessage[ \r\n\r\nBye\r\n ]"}));
}

TEST_F(MailboxImport, FullHeaderRewritesTheHeaderAndMissingHeadersFallBack) {
  QueuedFile file = Source("box.mbox",
                           "From a@x Tue Jun 01 12:00:00 2004\nSubject: s\n\nbody\n"
                           "From b@x Tue Jun 01 12:00:00 2004\nno header end",
                           kStandard);
  file.full_header = 1;
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.documents_added, 2u);
  // The rest of the separator line is the first header line.
  EXPECT_EQ(Documents(), (Docs{" Tue Jun 01 12:00:00 2004]\r\nSubject[ s ]\r\nMailBox[ box ]\r\n"
                               "Message[ \r\n\r\nbody\r\n ]",
                               "MailBox[ box ]\r\n"}));
  EXPECT_NE(outcome.log.find("An error occurred while accessing the message header.  A normal "
                             "import was done\r\n"),
            std::string::npos);
}

TEST_F(MailboxImport, NamedAttachmentFilesAreSavedAndMissingOnesLogged) {
  const std::string report = WriteFile(dir_, "files/report.txt", "report bytes");
  const std::string missing = dir_.file("files/gone.pdf");
  QueuedFile file = Source("std.mbx",
                           "From a@x d\r\nX-Attachments: " + report + ", " + missing +
                               "\r\nSubject: Files\r\n\r\nsee attached\r\n",
                           kStandard);
  file.save_attachments = 1;
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.log,
            "Could not open attachment file \"" + missing + "\" for message \"Files\"\r\n");

  const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  const uint64_t id = EngFirstDocument(db, KSENG_WALK_DOCUMENTS);
  ASSERT_EQ(EngGetAttachmentCount(db, id), 1u);
  char name[256] = {};
  uint32_t kind = 0;
  uint64_t size = 0;
  ASSERT_EQ(EngGetAttachmentInfo(db, id, 0, name, sizeof name, &kind, &size), 1);
  EXPECT_STREQ(name, "report.txt");
  std::string content(size, '\0');
  EXPECT_EQ(EngReadAttachment(db, id, 0, content.data(), size), 1);
  EXPECT_EQ(content, "report bytes");
  EngCloseDatabase(db);

  // Without the option nothing is read or attached.
  file.save_attachments = 0;
  EXPECT_EQ(Import({file}).log, "");
}

}  // namespace
