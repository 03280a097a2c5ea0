// Reading mailboxes as the mailbox importers do: whatever their line ends,
// mapped or block by block, from the start offset of a run that imports only
// what is new; the date ranges and the DateSent field; and mailboxes that
// hold no message, damaged ones and very many empty messages.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "api/import_session.h"
#include "core/scoped_env.h"
#include "importers/import_fixture.h"
#include "importers/mail/mailbox_bytes.h"
#include "importers/mail/mailbox_reader.h"
#include "importers/mail/message_day_range.h"

namespace {

using Docs = std::vector<std::string>;
using Mode = MailboxReader::Mode;

struct Read {
  uint64_t begin, end;
  std::string line, raw;
  bool operator==(const Read&) const = default;
};

std::vector<Read> ReadAll(MailboxReader& reader) {
  std::vector<Read> messages;
  while (auto found = reader.Next()) {
    messages.push_back({found->begin, found->end, std::string(found->separator_line),
                        std::string(found->raw_text)});
  }
  EXPECT_DOUBLE_EQ(reader.Progress(), 1.0);
  return messages;
}

std::vector<Read> ReadWhole(const std::string& text, Mode mode, uint64_t start = 0) {
  InMemoryMailbox bytes(text);
  MailboxReader reader(bytes, mode, text.size(), start);
  return ReadAll(reader);
}

// As a mailbox that cannot be mapped is read: `block` bytes at a time.
std::vector<Read> ReadInBlocks(const std::string& text, Mode mode, size_t block,
                               uint64_t start = 0) {
  size_t at = 0;
  StreamedMailbox bytes(
      [&](char* buffer, size_t size) {
        const size_t count = text.copy(buffer, size, at);
        at += count;
        return static_cast<ssize_t>(count);
      },
      block);
  MailboxReader reader(bytes, mode, text.size(), start);
  return ReadAll(reader);
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

const std::string kStandardBox =
    "From a@x Tue Jun 01 12:00:00 2004\r\nSubject: one\r\n\r\nsee From here\r\n>From here\r\n"
    "From b@x Wed Jun 02 12:00:00 2004\r\nDate: 2 Jun 2004\r\nSubject: two\r\n\r\n\r\n"
    "From c@x\r\nFrom d@x Thu Jun 03 12:00:00 2004\r\nSubject: four\r\n\r\nlast\r\n";
const std::string kEudoraBox =
    "From ???@??? Tue Jun 01 12:00:00 2004\r\nSubject: one\r\n\r\nFrom me\r\n"
    "From ???@??? Wed Jun 02 12:00:00 2004 From ???@??? same line\r\n\r\nx";

TEST(MailboxReader, BlocksOfAnySizeGiveTheMessagesOfTheWholeMailbox) {
  for (const auto& [text, mode] : {std::pair{kStandardBox, Mode::kStandard},
                                   std::pair{kEudoraBox, Mode::kEudora}}) {
    const std::vector<Read> whole = ReadWhole(text, mode);
    ASSERT_EQ(whole.size(), mode == Mode::kStandard ? 4u : 3u);
    EXPECT_EQ(whole.back().end, text.size());
    // Separators straddle the ends of blocks of every size here.
    for (const size_t block : {1, 2, 5, 7, 13, 64, 4096}) {
      EXPECT_EQ(ReadInBlocks(text, mode, block), whole) << "blocks of " << block;
    }
  }
}

TEST(MailboxReader, AStartOffsetBeginsAtItsSeparatorOrTheNextOne) {
  const std::vector<Read> whole = ReadWhole(kStandardBox, Mode::kStandard);
  const std::vector<Read> from_second(whole.begin() + 1, whole.end());
  EXPECT_EQ(ReadWhole(kStandardBox, Mode::kStandard, whole[1].begin), from_second);
  EXPECT_EQ(ReadInBlocks(kStandardBox, Mode::kStandard, 4, whole[1].begin), from_second);
  // Inside the first message, even at its ">From ": the next separator.
  const uint64_t quoted = kStandardBox.find(">From");
  EXPECT_EQ(ReadWhole(kStandardBox, Mode::kStandard, quoted), from_second);
  EXPECT_EQ(ReadWhole(kStandardBox, Mode::kStandard, whole[0].begin + 1), from_second);
  // At or past the end: nothing.
  EXPECT_TRUE(ReadWhole(kStandardBox, Mode::kStandard, kStandardBox.size()).empty());
  EXPECT_TRUE(ReadInBlocks(kStandardBox, Mode::kStandard, 8, kStandardBox.size() + 100).empty());
}

// How two ranges narrow each other, both ends inclusive: the import in
// DateRangesTakeTheirFirstAndLastDaysAndSkipTheDaysOutside.
TEST(MessageDayRange, UnreadableDaysAreNone) {
  using Day = MessageDayRange::Day;
  EXPECT_EQ(MessageDayRange::ParseDay("06/01/2004"), (Day{2004, 6, 1}));
  EXPECT_EQ(MessageDayRange::ParseDay("6/1/2004"), (Day{2004, 6, 1}));
  for (const char* bad : {"", "13/01/2004", "06/32/2004", "2004-06-01", "06/01/2004x", "06/01"}) {
    EXPECT_EQ(MessageDayRange::ParseDay(bad), std::nullopt) << bad;
  }
}

// Imports run through a session of the test's own, so that a record may
// carry what no exported argument does (the start offset).
class MailboxReading : public ImportFixture {
 protected:
  SETDATA Mailbox(const std::string& name, const std::string& content,
                  int32_t type = KSIMP_TYPE_MBX) {
    SETDATA record;
    record.file_name = WriteFile(dir_, name, content);
    record.file_type = type;
    return record;
  }

  ImportOutcome Run(SETDATA record) {
    CImportSession session;
    ImportOutcome outcome;
    outcome.handle = session.InitImportUsingFileName(database_.c_str());
    record.import_handle = outcome.handle;
    EXPECT_EQ(session.AddFileToImport(record), 1u);
    outcome.result = session.Import(outcome.handle, 0, 0, nullptr, &outcome.documents_added);
    outcome.error = session.GetLastImportError(outcome.handle);
    char log[8192] = {};
    if (session.GetLogData(outcome.handle, log, sizeof log) != 0) outcome.log = log;
    return outcome;
  }
};

TEST_F(MailboxReading, LfCrAndCrLfMailboxesGiveTheSameDocuments) {
  Docs first;
  for (const char* line_end : {"\r\n", "\n", "\r"}) {
    FreshDatabase();
    const ImportOutcome outcome =
        Run(Mailbox("box.mbox", Replaced(kStandardBox, "\r\n", line_end)));
    EXPECT_EQ(outcome.documents_added, 4u);
    if (first.empty()) {
      first = Documents();
      EXPECT_EQ(first[1],
                "Date[ 2 Jun 2004 ]\r\nDateSent[ 06/02/2004 ]\r\nSubject[ two ]\r\n"
                "MailBox[ box ]\r\nMessage[ \r\n\r\n\r\n ]");
    } else {
      EXPECT_EQ(Documents(), first) << "line ends " << static_cast<int>(line_end[0]);
    }
  }
}

TEST_F(MailboxReading, AMailboxThatDeclaresUnicodeIsReadBlockByBlock) {
  const ImportOutcome outcome = Run(Mailbox("bom.mbox", "\xEF\xBB\xBF" + kStandardBox));
  EXPECT_EQ(outcome.documents_added, 4u);
  EXPECT_EQ(Documents().back(),
            "Subject[ four ]\r\nMailBox[ bom ]\r\nMessage[ \r\n\r\nlast\r\n ]");
}

TEST_F(MailboxReading, AStartOffsetImportsOnlyTheMessagesFromThere) {
  const uint64_t second = kStandardBox.find("From b@x");
  SETDATA record = Mailbox("box.mbox", kStandardBox);
  record.start_offset = second;
  ImportOutcome outcome = Run(record);
  EXPECT_EQ(outcome.documents_added, 3u);
  EXPECT_EQ(Documents().front().rfind("Date[ 2 Jun 2004 ]\r\nDateSent[ 06/02/2004 ]", 0), 0u);

  // Past the end, as when nothing new arrived: nothing, and no error.
  FreshDatabase();
  record.start_offset = kStandardBox.size() + 10;
  outcome = Run(record);
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "no error was to be recorded";
  EXPECT_EQ(outcome.log, "");
}

TEST_F(MailboxReading, DateRangesTakeTheirFirstAndLastDaysAndSkipTheDaysOutside) {
  const std::string box =
      "From a@x d\r\nDate: Mon, 31 May 2004 23:59:59 +0000\r\nSubject: day before\r\n\r\nx\r\n"
      "From a@x d\r\nDate: Tue, 1 Jun 2004 00:00:00 +0000\r\nSubject: first day\r\n\r\nx\r\n"
      "From a@x d\r\nDate: Wed, 30 Jun 2004 23:59:59 -0800\r\nSubject: last day\r\n\r\nx\r\n"
      "From a@x d\r\nDate: Thu, 1 Jul 2004 00:00:00 +0000\r\nSubject: day after\r\n\r\nx\r\n"
      "From a@x d\r\nDate: some day\r\nSubject: undated\r\n\r\nx\r\n";
  // The two ranges narrow each other: June 2004.
  SETDATA record = Mailbox("dated.mbox", box);
  record.date_from = "06/01/2004";
  record.message_date_from = "01/01/2004";
  record.message_date_to = "06/30/2004";
  const ImportOutcome outcome = Run(record);
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 3u);
  EXPECT_EQ(Subjects(), (Docs{"first day", "last day", "undated"}));
  EXPECT_EQ(outcome.log, record.file_name + ": 2 messages outside the date range were skipped.\r\n");

  // An end that is no day is left open, and says so.
  FreshDatabase();
  record.date_from = "June 1st";
  record.message_date_from = record.message_date_to = "";
  const ImportOutcome open = Run(record);
  EXPECT_EQ(open.documents_added, 5u);
  EXPECT_NE(open.log.find("\"June 1st\""), std::string::npos) << open.log;
}

// The separator's date without a Date line: MailboxImport.EachMessageBecomesADocumentOfItsFields.
TEST_F(MailboxReading, DateSentIsTheDayOfTheDateLineOrOfTheSeparator) {
  const ImportOutcome outcome = Run(Mailbox(
      "In.mbx",
      "From ???@??? Tue Jun 01 12:00:00 2004\r\nDate: 7 Feb 99 10:00\r\nSubject: line\r\n\r\nx\r\n"
      "From ???@??? whenever\r\nSubject: none\r\n\r\nx\r\n",
      KSIMP_TYPE_EUDORA));
  EXPECT_EQ(outcome.documents_added, 2u);
  const Docs documents = Documents();
  EXPECT_EQ(documents[0].substr(0, documents[0].find("Subject")),
            "Date[ 7 Feb 99 10:00 ]\r\nDateSent[ 02/07/1999 ]\r\n");
  EXPECT_EQ(documents[1].find("DateSent"), std::string::npos) << documents[1];

  // With the full header, the separator line's date opens the DateSent field.
  FreshDatabase();
  SETDATA record = Mailbox("In.mbx",
                           "From ???@??? Tue Jun 01 12:00:00 2004\r\nFrom: Ann\r\n\r\nHi\r\n",
                           KSIMP_TYPE_EUDORA);
  record.full_header = 1;
  EXPECT_EQ(Run(record).documents_added, 1u);
  EXPECT_EQ(Documents()[0].rfind("DateSent[  Tue Jun 01 12:00:00 2004]\r\nFrom[ Ann", 0), 0u)
      << Documents()[0];
}

TEST_F(MailboxReading, AFileWithoutMessagesRecordsTheWrongFileTypeError) {
  std::string junk;
  for (int i = 0; i < 3000; ++i) junk += static_cast<char>((i * 37) % 256);
  for (const std::string& content : {std::string("Just some text.\r\nfrom the start, no mail.\r\n"), junk}) {
    const SETDATA record = Mailbox("junk.mbox", content);
    const ImportOutcome outcome = Run(record);
    EXPECT_EQ(outcome.documents_added, 0u);
    EXPECT_EQ(outcome.error, KSIMP_ERR_WRONG_FILE_TYPE);
    EXPECT_EQ(outcome.log, record.file_name + ": no message was found in the mailbox.\r\n");
  }
  // An empty mailbox is no error: it holds no message to miss.
  const ImportOutcome empty = Run(Mailbox("empty.mbox", ""));
  EXPECT_EQ(empty.error, KSIMP_ERR_INTERNAL);
  EXPECT_EQ(empty.log, "");
}

TEST_F(MailboxReading, CutAndEmptyMessagesGiveDocumentsOfWhatTheyHold) {
  // The last message cut off in its header: no body, so no Message field.
  ImportOutcome outcome =
      Run(Mailbox("cut.mbox", "From a@x d\r\nSubject: one\r\n\r\nbody\r\nFrom b@x Tue Jun 01 12"));
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_EQ(Documents()[1], "MailBox[ cut ]\r\n");

  FreshDatabase();
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "From a@x\n";
  outcome = Run(Mailbox("many.mbox", many));
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 10000u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL);
  const Docs documents = Documents();
  ASSERT_EQ(documents.size(), 10000u);
  EXPECT_EQ(documents.front(), "MailBox[ many ]\r\n");
  EXPECT_EQ(documents.back(), "MailBox[ many ]\r\n");
}

TEST_F(MailboxReading, EncodedAttachmentsAreSavedAndImportedIntoTheMessagesDocument) {
  const ScopedEnv tmpdir("TMPDIR", dir_.file("tmp"));
  std::filesystem::create_directories(dir_.file("tmp"));
  SETDATA record = Mailbox(
      "mime.mbox",
      "From a@x Tue Jun 01 12:00:00 2004\r\nSubject: minutes\r\nMIME-Version: 1.0\r\n"
      "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n"
      "--b\r\nContent-Type: text/plain\r\n\r\nsee the notes\r\n"
      "--b\r\nContent-Type: text/plain; name=\"notes.txt\"\r\n"
      "Content-Disposition: attachment; filename=\"notes.txt\"\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nTm90ZXMgb2YgdGhlIG1lZXRpbmcNCg==\r\n--b--\r\n");
  record.save_attachments = 1;
  record.import_attachments = 1;
  const ImportOutcome outcome = Run(record);
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 1u) << "an attachment imported adds no document";
  const Docs documents = Documents();
  ASSERT_EQ(documents.size(), 1u);
  const size_t message = documents[0].find("see the notes");
  ASSERT_NE(message, std::string::npos) << documents[0];
  EXPECT_NE(documents[0].find("Notes of the meeting", message), std::string::npos)
      << documents[0];

  const std::vector<StoredAttachment> attached = Attachments();
  ASSERT_EQ(attached.size(), 1u);
  EXPECT_EQ(attached[0].name, "notes.txt");
  EXPECT_EQ(attached[0].content, "Notes of the meeting\r\n");
}

}  // namespace
