// The mailbox importers (file types 1005 and 1060): where messages begin in
// each separator mode, recognition by the first bytes, and whole mailboxes
// imported through the exported interface: one document per message, the
// separator date, the full header, saved attachment files and the log line
// for a missing one.  The corpus's mailboxes are mail_corpus_test's, held
// against another reader.
#include "importers/mail/mailbox_import.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/scoped_env.h"
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

  const std::vector<StoredAttachment> attached = Attachments();
  ASSERT_EQ(attached.size(), 1u);
  EXPECT_EQ(attached[0].name, "report.txt");
  EXPECT_EQ(attached[0].content, "report bytes");

  // Without the option nothing is read or attached.
  file.save_attachments = 0;
  EXPECT_EQ(Import({file}).log, "");
}

class AttachmentMailboxImportTest : public ImportFixture {
 protected:
  ScopedEnv tmpdir_{"TMPDIR", dir_.file("tmp")};
};

// Through the exported interface, as a host asks for it (argument 24), from
// a real Eudora mailbox whose messages name attachment files saved in the
// mailbox's own folder: each attachment ends its message's document.
TEST_F(AttachmentMailboxImportTest, AMailboxImportAppendsEachAttachmentToItsMessage) {
  std::filesystem::create_directories(dir_.path() / "tmp");
  const std::string notes_text = "Notes of the meeting\r\n";
  const std::string page_text = "<p>The page</p>\r\n";
  const std::string notes = WriteFile(dir_, "Mail/Attach/notes.txt", notes_text);
  const std::string page = WriteFile(dir_, "Mail/Attach/page.html", page_text);
  const std::string other = WriteFile(dir_, "Mail/Attach/sheet.xyz", "cells");
  QueuedFile mailbox(
      WriteFile(dir_, "Mail/In.mbx",
                "From ???@??? Tue Jun 01 12:00:00 2004\r\nSubject: Files\r\nX-Attachments: " +
                    notes + "," + page + "\r\n\r\nsee attached\r\n" +
                    "From ???@??? Wed Jun 02 12:00:00 2004\r\nSubject: Sheet\r\n\r\n"
                    "Attachment Converted: \"" +
                    other + "\"\r\n"),
      KSIMP_TYPE_EUDORA);
  mailbox.import_attachments = 1;

  const ImportOutcome outcome = Import({mailbox});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_EQ(outcome.log,
            "The attachment \"sheet.xyz\" was not imported into its message's document: no "
            "importer reads files of its type.\r\n");
  EXPECT_TRUE(Attachments().empty()) << "imported, not attached";
  const std::vector<std::string> texts = Documents();
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_TRUE(texts[0].ends_with("see attached\r\n ]" + notes_text + page_text)) << texts[0];
  EXPECT_TRUE(texts[1].ends_with(" ]")) << texts[1];
  EXPECT_TRUE(std::filesystem::is_empty(dir_.path() / "tmp" / "KSTmpImp"));
}

}  // namespace
