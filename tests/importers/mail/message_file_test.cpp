// Messages kept one to a file: what is told apart as no message, and the
// shape the composer is handed, so that the first header line counts like
// every other.
#include "importers/mail/message_file.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using message_file::Verdict;

TEST(MessageFile, TellsMessagesFromEmptyFilesAndFromOtherData) {
  EXPECT_EQ(message_file::Examine(""), Verdict::kEmpty);
  EXPECT_EQ(message_file::Examine(" \r\n\n\t"), Verdict::kEmpty);
  EXPECT_EQ(message_file::Examine("Subject: hi\n\nbody"), Verdict::kMessage);
  EXPECT_EQ(message_file::Examine("From a@b Mon Jan  1 10:00:00 2024\nTo: x\n\n"),
            Verdict::kMessage);
  // A header folded onto nothing, as some damaged messages begin.
  EXPECT_EQ(message_file::Examine("   \r\nReceived: by host\r\n\r\nbody"), Verdict::kMessage);
  // Binary data in the body is the message's own.
  EXPECT_EQ(message_file::Examine(std::string("To: x\n\n\0\x89PNG", 11)), Verdict::kMessage);

  EXPECT_EQ(message_file::Examine("\x89PNG\r\n\x1a\n"), Verdict::kNotAMessage);
  EXPECT_EQ(message_file::Examine(std::string("Subject: a\0b\n\nbody", 18)), Verdict::kNotAMessage);
  EXPECT_EQ(message_file::Examine("Dear John,\nhow are you?\n"), Verdict::kNotAMessage);
  EXPECT_EQ(message_file::Examine(": no name\n\n"), Verdict::kNotAMessage);
  EXPECT_EQ(message_file::Examine("Two words: no header\n\n"), Verdict::kNotAMessage);
}

TEST(MessageFile, AMessageWithoutSeparatorLineGetsOneDatedByItsDelivery) {
  const message_file::Message message =
      message_file::AsMailboxMessage("Subject: first line\nTo: you\n\nText\n", 1086091200);
  EXPECT_EQ(message.separator_line, "From MAILER-DAEMON Tue Jun 01 12:00:00 2004");
  EXPECT_EQ(message.raw_text,
            " Tue Jun 01 12:00:00 2004\r\nSubject: first line\r\nTo: you\r\n\r\nText\r\n");
  // So the composer, which looks for a header after a line end only
  // (EudoraMessage.TagsMatchOnlyAtALineStartAndInAnyCase), finds the one on
  // the file's first line.
}

TEST(MessageFile, AKeptSeparatorLineIsTakenAsAMailboxWouldHandItOver) {
  const message_file::Message message = message_file::AsMailboxMessage(
      "From sender@example.com Mon Jan  1 10:00:00 2024\r\nFrom: sender\r\n\r\nx", 0);
  EXPECT_EQ(message.separator_line, "From sender@example.com Mon Jan  1 10:00:00 2024");
  EXPECT_EQ(message.raw_text, " Mon Jan  1 10:00:00 2024\r\nFrom: sender\r\n\r\nx");
  // A separator line with nothing after the address leaves an empty first line.
  EXPECT_EQ(message_file::AsMailboxMessage("From x\nTo: y\n\n", 0).raw_text, "\r\nTo: y\r\n\r\n");
}

TEST(MessageFile, SeparatorDatesStayReadableForAnySecond) {
  EXPECT_EQ(message_file::SeparatorDate(0), "Thu Jan 01 00:00:00 1970");
  EXPECT_EQ(message_file::SeparatorDate(-86400), "Wed Dec 31 00:00:00 1969");
  // Past the years a date line can hold: the epoch rather than garbage.
  EXPECT_EQ(message_file::SeparatorDate(INT64_MAX), "Thu Jan 01 00:00:00 1970");
}

}  // namespace
