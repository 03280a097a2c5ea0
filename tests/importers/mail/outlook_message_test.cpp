// The Outlook composer's layout (field order, the two line-end schemes and
// their asymmetries, the field marker), the Date text it writes, the rich
// text reduced to plain text for messages that have nothing else, and the
// header check that keeps files libpff must not read away from it.
#include "importers/mail/outlook_message.h"

#include <gtest/gtest.h>

#include <string>

#include "importers/mail/pst_header.h"
#include "importers/mail/rtf_plain_text.h"

namespace {

OutlookItem Item() {
  OutlookItem item;
  item.from = "Ann";
  item.to = "Bob; Carl";
  item.cc = "Dora";
  item.bcc = "Eve";
  item.subject = "Hello";
  item.time = 1504121163;  // 2017-08-30 19:26:03 UTC
  return item;
}

TEST(OutlookMessage, PlainMessagesEndLinesInCrLfWithTheDateAndMessageAsymmetries) {
  OutlookItem item = Item();
  item.plain_body = "Hi there\r\nBye";
  EXPECT_EQ(COutlookMessage().DocumentText("Inbox/Projects", item),
            "Folder[ Inbox/Projects ]\r\nFrom[ Ann ]\r\nTo[ Bob; Carl ]\r\nCc[ Dora ]\r\n"
            "Bcc[ Eve ]\r\nSubject[ Hello ]\r\nDate[ Wed, 30 Aug 2017 19:26:03 +0000 ]\r\n"
            "Message[ Hi there\r\nBye \r\n]\r\n");
}

TEST(OutlookMessage, AnHtmlBodyMakesEveryLineEndABreakAndWinsOverThePlainText) {
  OutlookItem item = Item();
  item.cc.clear();
  item.bcc.clear();
  item.plain_body = "plain";
  item.html_body = "<p>rich</p>";
  COutlookMessage composer;
  composer.SetFieldMarker('\x01');
  EXPECT_EQ(composer.DocumentText("", item),
            "From\x01 Ann ]<br>To\x01 Bob; Carl ]<br>Subject\x01 Hello ]<br>"
            "Date\x01 Wed, 30 Aug 2017 19:26:03 +0000 ]<br>Message\x01 <p>rich</p><br>]<br>");
}

TEST(OutlookMessage, EmptyFieldsAndBodiesAreLeftOut) {
  OutlookItem item;
  item.subject = "Only a subject";
  EXPECT_EQ(COutlookMessage().DocumentText("", item), "Subject[ Only a subject ]\r\n");
  EXPECT_EQ(COutlookMessage().DocumentText("", OutlookItem{}), "");
}

TEST(OutlookMessage, RichTextIsTheBodyOnlyWhenThereIsNoOther) {
  OutlookItem item;
  item.rtf_body = R"({\rtf1\ansi{\fonttbl{\f0 Arial;}}\f0 From rich \b text\b0\par next})";
  EXPECT_EQ(COutlookMessage().DocumentText("", item), "Message[ From rich text\r\nnext \r\n]\r\n");
  item.plain_body = "plain wins";
  EXPECT_EQ(COutlookMessage().DocumentText("", item), "Message[ plain wins \r\n]\r\n");
}

TEST(OutlookMessage, DateTextIsAMailDateInUtcThatTheDateRangesRead) {
  EXPECT_EQ(COutlookMessage::DateText(0), "Thu, 01 Jan 1970 00:00:00 +0000");
  EXPECT_EQ(COutlookMessage::DateText(951782400), "Tue, 29 Feb 2000 00:00:00 +0000");
  // That the date ranges read it: OutlookImport.TheDateRangesSelectByTheDayTheMessageWasSent.
}

TEST(RtfPlainText, KeepsTheTextAndDropsTablesPicturesAndIgnorableDestinations) {
  EXPECT_EQ(RtfPlainText(R"({\rtf1\ansi\ansicpg1252{\fonttbl{\f0 Arial;}}{\colortbl;\red0;})"
                         R"({\*\generator Riched;}{\info{\title T}}Caf\'e9\tab x\line y})"),
            "Caf\u00e9\tx\r\ny");
  // \uN stands for a character, followed by \ucN stand-ins for readers
  // that do not know it; a picture's binary data is skipped whole.
  EXPECT_EQ(RtfPlainText(R"({\rtf1\uc1\u8364?\uc2 \u-4064\'81\'40 end{\pict\bin3 {}x}})"),
            "\u20ac\uf020 end");
  // A body converted from HTML keeps the text, not the markup only rich
  // text showed.
  EXPECT_EQ(RtfPlainText(R"({\rtf1\fromhtml1{\*\htmltag19 <html>}\htmlrtf {x}\htmlrtf0 Hi})"),
            "Hi");
  EXPECT_EQ(RtfPlainText(R"({\rtf1\ansicpg932 \'82\'a0})"), "\u3042");
  EXPECT_EQ(RtfPlainText(""), "");
}

TEST(RtfPlainText, DamagedTextEndsWithoutHarm) {
  EXPECT_EQ(RtfPlainText(R"({\rtf1 a}}}} b)"), "a b");
  EXPECT_EQ(RtfPlainText(R"({\rtf1 \'4)"), "4");  // an escape cut short is dropped
  EXPECT_EQ(RtfPlainText(R"(\bin99999999)"), "");
  // \u takes a 16-bit number: a larger one is no character (found by the
  // fuzz target, which saw invalid UTF-8 come out).
  EXPECT_EQ(RtfPlainText(R"({\rtf1\uc0 a\u123542354 b\u-99999 c})"), "a\ufffdb\ufffdc");
  // Control characters written as escapes are no line ends: those are \par.
  EXPECT_EQ(RtfPlainText(R"({\rtf1\uc0 a\u10 b\'0d\'00c\'09d})"), "abc\td");
  // Nor are those a code page makes of printable bytes (EBCDIC's "%").
  EXPECT_EQ(RtfPlainText(R"({\rtf1\ansicpg500 \'25\'c1})"), "A");
  // Groups deeper than the limit are skipped, not followed.
  const std::string deep = std::string(kRtfDeepestGroup + 10, '{') + "deep" +
                           std::string(kRtfDeepestGroup + 10, '}') + "top";
  EXPECT_EQ(RtfPlainText(deep), "top");
}

// A header as the Unicode format lays it out, for a file of `size` bytes.
std::string UnicodeHeader(uint64_t end_of_file, uint64_t node_tree, uint64_t block_tree) {
  std::string header(PstHeader::kBytesRead, '\0');
  header.replace(0, 4, "!BDN");
  header.replace(8, 2, "SM");
  header[10] = 23;
  for (int i = 0; i < 8; ++i) {
    header[184 + i] = static_cast<char>(end_of_file >> (8 * i));
    header[224 + i] = static_cast<char>(node_tree >> (8 * i));
    header[240 + i] = static_cast<char>(block_tree >> (8 * i));
  }
  header[513] = 1;
  return header;
}

TEST(PstHeader, ReadsTheSignatureVersionAndIndexOfBothLayouts) {
  const auto header = PstHeader::Read(UnicodeHeader(271360, 263168, 266240));
  ASSERT_TRUE(header);
  EXPECT_TRUE(header->unicode);
  EXPECT_EQ(header->end_of_file, 271360u);
  EXPECT_EQ(header->node_tree, 263168u);
  EXPECT_EQ(header->encryption, 1);
  EXPECT_EQ(header->Problem(271360), std::nullopt);

  std::string ansi = UnicodeHeader(0, 0, 0);
  ansi[10] = 14;
  ansi[168] = 0x00;
  ansi[169] = 0x10;  // 4096
  ansi[188] = 0x00;
  ansi[189] = 0x04;  // 1024
  ansi[196] = 0x00;
  ansi[197] = 0x08;  // 2048
  const auto old = PstHeader::Read(ansi);
  ASSERT_TRUE(old);
  EXPECT_FALSE(old->unicode);
  EXPECT_EQ(old->end_of_file, 4096u);
  EXPECT_EQ(old->block_tree, 2048u);
  EXPECT_EQ(old->Problem(4096), std::nullopt);
}

TEST(PstHeader, RefusesWhatLibpffMustNotBeGiven) {
  std::string book = UnicodeHeader(271360, 263168, 266240);
  book.replace(8, 2, "AB");  // an address book, not folders
  EXPECT_FALSE(PstHeader::Read(book));
  EXPECT_FALSE(PstHeader::Read("!BDN"));
  EXPECT_FALSE(PstHeader::Read(std::string(600, 'x')));

  const PstHeader header = *PstHeader::Read(UnicodeHeader(271360, 263168, 266240));
  // Cut before its index: nothing can be found.
  EXPECT_TRUE(header.IsCut(200000));
  EXPECT_NE(header.Problem(200000).value_or("").find("cut short"), std::string::npos);
  // Cut after its index: libpff may read what is left.
  EXPECT_TRUE(header.IsCut(270000));
  EXPECT_EQ(header.Problem(270000), std::nullopt);
  // An index that points into the header or past any real end.
  EXPECT_TRUE(PstHeader::Read(UnicodeHeader(271360, 0, 266240))->Problem(271360));
  EXPECT_TRUE(PstHeader::Read(UnicodeHeader(271360, 263168, ~uint64_t{0}))->Problem(271360));
  std::string later = UnicodeHeader(271360, 263168, 266240);
  later[10] = 36;  // 4 KB pages
  EXPECT_TRUE(PstHeader::Read(later)->Problem(271360));
}

}  // namespace
