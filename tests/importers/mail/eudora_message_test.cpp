// The mailbox message composer: which header lines are found and how far
// their values run, the two header blocks, the Message field's separator,
// the dates read from Date lines and separator lines, and the field marker.
#include "importers/mail/eudora_message.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

CEudoraMessage Message(std::string raw, char marker = '[') {
  CEudoraMessage message;
  message.SetFieldMarker(marker);
  message.SetRawText(std::move(raw));
  return message;
}

TEST(EudoraMessage, OnlyTheHeadersPresentAreWrittenInTheFixedOrder) {
  const CEudoraMessage message = Message("From: Ann\r\nSubject: Hello\r\n\r\nHi there\r\n");
  EXPECT_EQ(message.DocumentText(),
            "From[ Ann ]\r\nSubject[ Hello ]\r\nMessage[ \r\n\r\nHi there\r\n ]");

  CEudoraMessage all = Message(
      "Received: x\r\nSubject: S\r\nIn-Reply-To: <r@x>\r\nMessage-ID: <m@x>\r\nDate: D\r\n"
      "From: F\r\nBcc: B\r\nCc: C\r\nTo: T\r\n\r\nbody");
  all.SetMailBox("Inbox");
  all.SetDateSent("DS");
  EXPECT_EQ(all.StandardHeaderBlock(),
            "To[ T ]\r\nCc[ C ]\r\nBcc[ B ]\r\nFrom[ F ]\r\nDate[ D ]\r\nDateSent[ DS ]\r\n"
            "Subject[ S ]\r\nMessage_Id[ <m@x> ]\r\nIn_Reply_To[ <r@x> ]\r\nMailBox[ Inbox ]\r\n");
}

TEST(EudoraMessage, TagsMatchOnlyAtALineStartAndInAnyCase) {
  // Tags are found with the line end before them: on the first line only
  // From is looked for.
  EXPECT_EQ(Message("Subject: first line\r\n\r\n").Subject(), "");
  // No To or Date: theirs stand inside other lines.
  EXPECT_EQ(
      Message("X-Note: To: nobody\r\nCC: c@x\r\nMessage-Id: <id>\r\nSubject: a Date: b\r\n\r\n")
          .StandardHeaderBlock(),
      "Cc[ c@x ]\r\nSubject[ a Date: b ]\r\nMessage_Id[ <id> ]\r\n");
  // A header may only start with From on its first line.
  EXPECT_EQ(Message("From: first\r\nTo: t\r\n\r\n").From(), "first");
  EXPECT_EQ(Message("To: t\r\nFrom: second\r\n\r\n").From(), "second");
}

TEST(EudoraMessage, AddressesRunOverContinuationLinesJoinedAsTheyStand) {
  const CEudoraMessage message = Message(
      "Received: r\r\nTo: a@x,\r\n b@x,\r\n\tc@x\r\nSubject: s\r\n  not joined\r\n\r\nbody");
  EXPECT_EQ(message.To(), "a@x, b@x,\tc@x");
  EXPECT_EQ(message.Subject(), "s") << "single-line fields stop at their line end";
  // A line whose first word ends in a colon is the next header, even one
  // that is not known; the header ends the last value.
  EXPECT_EQ(Message("Received: r\r\nTo: a\r\nX-Any: b\r\n\r\n").To(), "a");
  EXPECT_EQ(Message("Subject: s\r\nTo: a\r\n b").To(), "a b");
}

TEST(EudoraMessage, FullHeaderTurnsHeaderLinesIntoFields) {
  CEudoraMessage message = Message("Date: Tue, 1 Jun 2004\r\nFrom: Ann\r\n\r\nbody");
  message.SetMailBox("Inbox");
  EXPECT_EQ(message.FullHeaderBlock(),
            "Date[ Tue, 1 Jun 2004]\r\nFrom[ Ann ]\r\nMailBox[ Inbox ]\r\n");

  // Brackets go; colons after a digit or behind a blank stay; folded lines
  // are left alone; only the first colon of a line is converted.
  CEudoraMessage rich =
      Message("Subject: [list] Re: x\r\nReceived: by h; 12:00:01\r\n\tid 5: y\r\n\r\nbody", '#');
  rich.SetFullHeader(true);
  EXPECT_EQ(rich.DocumentText(),
            "Subject# list Re: x]\r\nReceived# by h; 12:00:01\r\n\tid 5: y ]\r\n"
            "Message# \r\n\r\nbody ]");

  CEudoraMessage prefixed = Message("Date: d\r\nFrom: f\r\n\r\n");
  prefixed.SetDateSentPrefix(true);
  EXPECT_EQ(prefixed.FullHeaderBlock(), "DateSent[ Date: d]\r\nFrom[ f ]\r\n");
}

TEST(EudoraMessage, FullHeaderRewritesHugeHeadersExactly) {
  // One line of a million characters, every colon opening a field: each
  // closes the line before with a "]" of its own.
  std::string line = "X";
  for (int i = 0; i < 500000; ++i) line += "a:";
  std::string expected = "Subject[ s" + std::string(500000, ']') + "\r\nX";
  for (int i = 0; i < 500000; ++i) expected += "a[";
  EXPECT_EQ(Message("Subject: s\r\n" + line + "\r\n\r\nbody").FullHeaderBlock(), expected + " ]\r\n");

  // Brackets removed leave empty lines that are removed in turn (each
  // removal once moved the rest of the text: seconds for this header).
  std::string brackets = "X: y";
  for (int i = 0; i < 500000; ++i) brackets += "\r\n[";
  EXPECT_EQ(Message(brackets + "\r\n\r\nbody").FullHeaderBlock(), "X[ y ]\r\n");
  EXPECT_EQ(Message(brackets + "\r\n[\r\n\r\nbody").FullHeaderBlock(), "X[ y\r\n ]\r\n");
}

TEST(EudoraMessage, FullHeaderKeepsEncodedWordsButConvertsUndeclaredBytes) {
  EXPECT_EQ(Message("Subject: =?utf-8?q?=C3=A9?=\r\nTo: Andr\xE9\r\n\r\nbody").FullHeaderBlock(),
            "Subject[ =?utf-8?q?=C3=A9?=]\r\nTo[ Andr\xC3\xA9 ]\r\n");
}

TEST(EudoraMessage, HeaderValuesAreDecodedToUtf8) {
  const CEudoraMessage message = Message(
      "Received: r\r\nFrom: =?utf-8?B?SsO8cmdlbg==?= <j@x>\r\nTo: Andr\xE9 <a@x>,\r\n"
      " =?iso-8859-1?q?Zo=EB?= <z@x>\r\nSubject: =?windows-1252?Q?Caf=E9_?=\r\n"
      " =?windows-1252?Q?cr=E8me?= notes\r\n\r\nbody");
  EXPECT_EQ(message.From(), "J\xC3\xBCrgen <j@x>");
  EXPECT_EQ(message.To(), "Andr\xC3\xA9 <a@x>, Zo\xC3\xAB <z@x>");
  // A single-line field keeps its first line only, as it always did.
  EXPECT_EQ(message.Subject(), "Caf\xC3\xA9 ");
  EXPECT_NE(message.StandardHeaderBlock().find("From[ J\xC3\xBCrgen <j@x> ]\r\n"), std::string::npos);
  // An encoded line end would break the field's line: it becomes a blank.
  EXPECT_EQ(Message("Received: r\r\nSubject: =?utf-8?q?a=0D=0Ab?=\r\n\r\n").Subject(), "a  b");
}

// Which part is the text and how it is decoded: mime_message_test, and the
// corpus comparison (mail_corpus_test), which reads MessageText.
TEST(EudoraMessage, AnHtmlPartAloneIsTheTextAndIsIntroducedAsHtml) {
  const CEudoraMessage html = Message(
      "Received: r\r\nSubject: s\r\nMIME-Version: 1.0\r\nContent-Type: text/html; charset=utf-8\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nPGh0bWw+w6k8L2h0bWw+\r\n");
  EXPECT_EQ(html.MessageText(), "<html>\xC3\xA9</html>");
  EXPECT_EQ(html.DocumentText(), "Subject[ s ]\r\nMessage[ <BR><BR><html>\xC3\xA9</html> ]");
}

TEST(EudoraMessage, EncodedAttachmentsComeFromTheMessagesParts) {
  CEudoraMessage message = Message(
      "Subject: s\r\nX-Attachments: C:\\saved.doc\r\nMIME-Version: 1.0\r\n"
      "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n"
      "--b\r\nContent-Type: text/plain\r\n\r\nsee attached\r\n"
      "--b\r\nContent-Type: application/octet-stream; name=\"=?utf-8?q?=E2=82=AC.bin?=\"\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nSGVs\r\nbG8=\r\n--b--\r\n");
  EXPECT_EQ(message.MessageText(), "see attached");
  const std::vector<CEudoraMessage::AttachmentInfo>& attachments = message.EncodedAttachments();
  ASSERT_EQ(attachments.size(), 1u);
  EXPECT_EQ(attachments[0].file_name, "\xE2\x82\xAC.bin");
  EXPECT_EQ(attachments[0].content, "Hello");
  EXPECT_EQ(attachments[0].length, 5u);
  // Files saved by the mail program are named apart, as before.
  EXPECT_EQ(message.AttachmentNames(), std::vector<std::string>{"C:\\saved.doc"});
  // A new raw text forgets the attachments of the old one.
  message.SetRawText("Subject: t\r\n\r\nplain");
  EXPECT_TRUE(message.EncodedAttachments().empty());
}

TEST(EudoraMessage, MessageFieldSeparatorFollowsHtmlAnywhereInTheBody) {
  const CEudoraMessage message = Message("Subject: s\r\n\r\n", '#');
  EXPECT_EQ(message.MessageField("plain"), "Message# \r\n\r\nplain ]");
  EXPECT_EQ(message.MessageField("text then <html><body>x"),
            "Message# <BR><BR>text then <html><body>x ]");
  EXPECT_EQ(message.MessageField("<x-html>y"), "Message# <BR><BR><x-html>y ]");
  EXPECT_EQ(Message("Received: r\r\nSubject: no body\r\n").DocumentText(),
            "Subject[ no body ]\r\n");
  EXPECT_EQ(CEudoraMessage::PlainTextAsHtml("a<b>\tc\r\nd"), "<html>a&lt;b&gt; c<br>d");
}

TEST(EudoraMessage, MessageDayReadsDayMonthAndTheTwoStepYear) {
  using Day = CEudoraMessage::MessageDate;
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("Tue, 01 Jun 2004 12:00:00 +0000"), (Day{2004, 6, 1}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("5 dec 09"), (Day{2009, 12, 5}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("5 Dec 99"), (Day{1999, 12, 5}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("5 Dec 50"), (Day{1950, 12, 5}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("5 Dec 102"), (Day{2002, 12, 5}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("5 Dec 103"), (Day{103, 12, 5}));
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("Mon, 5 Foo 2004"), std::nullopt);
  EXPECT_EQ(CEudoraMessage::ParseMessageDate("no date"), std::nullopt);
  EXPECT_EQ(Message("Received: r\r\nDate: 7 Mar 2001\r\n\r\n").MessageDay(), (Day{2001, 3, 7}));
}

TEST(EudoraMessage, SeparatorLineGivesTheDateOnlyWhenAskedAndMissing) {
  CEudoraMessage message;
  message.SetSeparatorDate(true);
  message.SetSeparatorLine("From ???@??? Tue Jun 01 12:00:00 2004");
  message.SetRawText("Subject: s\r\n\r\nbody");
  EXPECT_EQ(message.Date(), "Tue, 01 Jun 2004 12:00:00");
  EXPECT_NE(message.StandardHeaderBlock().find("Date[ Tue, 01 Jun 2004 12:00:00 ]\r\n"),
            std::string::npos);

  message.SetRawText("Received: r\r\nDate: own\r\n\r\n");
  EXPECT_EQ(message.Date(), "own");
  // Overlong words of a malformed line are cut to their room.
  message.SetSeparatorLine("From a@b Tuesday June 011 12:00:00:99 20045");
  message.SetRawText("Subject: s\r\n\r\n");
  EXPECT_EQ(message.Date(), "Tue, 01 Jun 2004 12:00:00");
  message.SetSeparatorLine("From a@b");
  message.SetRawText("Subject: s\r\n\r\n");
  EXPECT_EQ(message.Date(), "");

  CEudoraMessage not_asked;
  not_asked.SetSeparatorLine("From ???@??? Tue Jun 01 12:00:00 2004");
  not_asked.SetRawText("Subject: s\r\n\r\n");
  EXPECT_EQ(not_asked.Date(), "");
}

}  // namespace
