// The MIME structure of a message: the header fields of a part, the parts
// of multipart bodies, which part is the text a reader sees and how it is
// decoded, and the attachments the other parts make.
#include "importers/mail/mime_message.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/charset_converter.h"

namespace {

using ks::core::CharsetConverter;
using ks::mail::AttachmentInfo;
using ks::mail::MimeHeader;
using ks::mail::MimeMessage;
using ks::mail::ParseMimeHeader;

// A message's text cut where CEudoraMessage cuts it: at the first empty line.
struct Message {
  explicit Message(std::string text) : raw(std::move(text)) {
    const size_t end = raw.find("\r\n\r\n");
    mime.emplace(std::string_view(raw).substr(0, end), std::string_view(raw).substr(end + 4),
                 converter);
  }
  std::string raw;
  CharsetConverter converter;
  std::optional<MimeMessage> mime;
};

std::string Text(std::string raw) {
  return Message(std::move(raw)).mime->Text();
}

// Each attachment as "kind file name: content"; its length and flag checked
// on the way.
std::vector<std::string> Described(const std::vector<AttachmentInfo>& attachments) {
  std::vector<std::string> described;
  for (const AttachmentInfo& attachment : attachments) {
    EXPECT_EQ(attachment.length, attachment.content.size()) << attachment.file_name;
    EXPECT_EQ(attachment.flag, 0) << attachment.file_name;
    described.push_back(std::to_string(attachment.kind) + " " + attachment.file_name + ": " +
                        attachment.content);
  }
  return described;
}

TEST(MimeHeader, FieldsAndParametersAreReadInAnyCaseQuotedFoldedOrSplit) {
  CharsetConverter converter;
  const MimeHeader header = ParseMimeHeader(
      " Tue Jun 01 12:00:00 2004\r\n"  // a separator line's rest is no field
      "content-TYPE: Multipart/Mixed;\r\n\tBOUNDARY=\"b=\\\"1\\\"\"; charset = koi8-r (a comment)\r\n"
      "Content-Type: text/plain\r\n"  // a second one does not count
      "Content-Transfer-Encoding:  Base64 \r\n"
      "Content-Disposition: attachment;\r\n filename*0*=utf-8''%E2%82%AC%20;\r\n"
      " filename*1=\"and more.txt\"; filename=\"plain.txt\"\r\n",
      converter);
  EXPECT_FALSE(header.has_mime_version);
  EXPECT_TRUE(header.has_content_type);
  // The RFC 2231 file name wins over the plain one.
  EXPECT_EQ(
      (std::vector<std::string>{header.type, header.subtype, header.boundary, header.charset,
                                header.transfer_encoding, header.disposition, header.filename}),
      (std::vector<std::string>{"multipart", "mixed", "b=\"1\"", "koi8-r", "base64", "attachment",
                                "\xE2\x82\xAC and more.txt"}));

  const MimeHeader named = ParseMimeHeader(
      "MIME-Version: 1.0\r\nContent-Type: application/pdf; name=\"=?iso-8859-1?q?r=E9sum=E9?=.pdf\"\r\n",
      converter);
  EXPECT_TRUE(named.has_mime_version);
  EXPECT_EQ(named.FileName(), "r\xC3\xA9sum\xC3\xA9.pdf");
  EXPECT_TRUE(named.IsAttachment());

  const MimeHeader broken = ParseMimeHeader("Content-Type: garbage; charset=utf-8\r\n", converter);
  EXPECT_EQ(broken.type + "/" + broken.subtype, "text/plain");
  EXPECT_EQ(broken.charset, "utf-8");

  // A comment whose last character is a backslash: nothing is read past the
  // field's end (found by fuzzing, where it threw out of the message).
  const MimeHeader cut = ParseMimeHeader("Content-Type: text/plain; name=(\\\r\n", converter);
  EXPECT_EQ(cut.subtype, "plain");
  EXPECT_EQ(cut.FileName(), "");
}

TEST(MimeMessage, AlternativePartsGiveThePlainTextWhereverItStands) {
  const std::string alternative =
      "MIME-Version: 1.0\r\nContent-Type: multipart/alternative; boundary=\"alt\"\r\n\r\n"
      "preamble\r\n--alt\r\nContent-Type: text/html\r\n\r\n<html>rich</html>\r\n"
      "--alt\r\nContent-Type: text/plain; charset=us-ascii\r\n\r\nplain\r\n--alt--\r\nepilogue\r\n";
  EXPECT_EQ(Text(alternative), "plain");
  // With no plain text the HTML is the text.
  EXPECT_EQ(Text("Content-Type: multipart/alternative; boundary=alt\r\n\r\n"
                 "--alt\r\nContent-Type: text/html\r\n\r\n<html>only</html>\r\n--alt--\r\n"),
            "<html>only</html>");
  // An empty plain alternative gives way to the HTML that has the text.
  EXPECT_EQ(Text("Content-Type: multipart/alternative; boundary=alt\r\n\r\n"
                 "--alt\r\nContent-Type: text/plain\r\n\r\n \r\n\r\n"
                 "--alt\r\nContent-Type: text/html\r\n\r\n<p>rich</p>\r\n--alt--\r\n"),
            "<p>rich</p>");
}

TEST(MimeMessage, NestedMultipartsAreWalkedInOrder) {
  const Message message(
      "Content-Type: multipart/mixed; boundary=outer\r\n\r\n"
      "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n"
      "--inner\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\nna=EFve =\r\ntext\r\n"
      "--inner\r\nContent-Type: text/html\r\n\r\n<p>na&iuml;ve</p>\r\n--inner--\r\n"
      "--outer\r\nContent-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n\r\n"
      "iVBORw0KGgo=\r\n--outer--\r\n");
  const MimeMessage& mime = *message.mime;
  ASSERT_EQ(mime.Parts().size(), 3u);
  EXPECT_EQ(mime.Text(), "na\xC3\xAFve text");
  // The file name made up: the part names none.
  EXPECT_EQ(Described(mime.Attachments()),
            std::vector<std::string>{"1 part1.png: \x89PNG\r\n\x1A\n"});
}

TEST(MimeMessage, BoundariesMustStandAloneAtALineStart) {
  // "--b" inside a line, or followed by more than blanks, is text; a
  // missing closing line ends the last part at the end of the body.
  EXPECT_EQ(Text("Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                 "--b \t\r\n\r\nsee --b and\r\n--bx\r\nstill text\r\n"),
            "see --b and\r\n--bx\r\nstill text\r\n");
  // Boundary lines may end in LF alone.
  EXPECT_EQ(Text("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\n\nlf\n--b--\n"), "lf");
  EXPECT_EQ(ks::mail::SplitMultipart("--b\r\none\r\n--b\r\n\r\n--b--\r\n--b\r\nafter", "b"),
            (std::vector<std::string_view>{"one", ""}));
}

TEST(MimeMessage, BodiesInOtherCharacterSetsBecomeUtf8) {
  EXPECT_EQ(Text("MIME-Version: 1.0\r\nContent-Type: text/plain; charset=ISO-8859-1\r\n"
                 "Content-Transfer-Encoding: quoted-printable\r\n\r\nGr=FC=DFe=0D=0Aaus Z=FCrich"),
            "Gr\xC3\xBC\xC3\x9F" "e\r\naus Z\xC3\xBCrich");
  // KOI8-R, Shift_JIS and the other sets of real mail: the corpus comparison
  // (mail_corpus_test).
  // Base64 text from a Unix mailer gets CR LF line ends like every other text.
  EXPECT_EQ(Text("MIME-Version: 1.0\r\nContent-Transfer-Encoding: base64\r\n\r\nb25lCnR3bw0KdGhyZWUNZm91cg==\r\n"),
            "one\r\ntwo\r\nthree\r\nfour");
}

TEST(MimeMessage, UndeclaredTextFollowsTheLibrarysRule) {
  // No MIME at all: the body as it stands, only converted; a quoted-printable
  // look-alike is not decoded.
  EXPECT_EQ(Text("Subject: s\r\n\r\nCaf\xE9 =E9\r\n"), "Caf\xC3\xA9 =E9\r\n");
  // MIME without a Content-Type, or without a charset: US-ASCII, read by the rule.
  EXPECT_EQ(Text("MIME-Version: 1.0\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
                 "=93q=94\r\n\xC3\xA9"),
            "\xE2\x80\x9Cq\xE2\x80\x9D\r\n\xC3\xA9");
  // A multipart without boundary lines (mailboxes that store messages taken
  // apart) is text as it stands, whatever its encoding header says.
  const Message eudora(
      "MIME-Version: 1.0\r\nContent-Type: multipart/signed; boundary=\"x\"\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\nsigned a=3Db\r\n");
  EXPECT_EQ(eudora.mime->Text(), "signed a=3Db\r\n");
  EXPECT_TRUE(eudora.mime->Attachments().empty());
  // A closing boundary line with none opening a part ends that text.
  EXPECT_EQ(Text("Content-Type: multipart/mixed; boundary=b\r\n\r\nbefore\r\n--b--\r\nafter\r\n"),
            "before");
}

TEST(MimeMessage, PartsWithNamesAndPartsThatAreNotTextAreAttachments) {
  const Message message(
      "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"=_b\"\r\n\r\n"
      "--=_b\r\nContent-Type: text/plain; name=notes.txt\r\n\r\nnotes, not the text\r\n"
      "--=_b\r\n\r\nthe text\r\n"  // no header: text/plain
      "--=_b\r\nContent-Type: text/plain\r\n\r\nsecond text, dropped\r\n"
      "--=_b\r\nContent-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n"
      "Content-Disposition: attachment; filename=\"C:\\\\Docs\\\\data.bin\"\r\n\r\n"
      "AAEC/w==\r\n"
      "--=_b\r\nContent-Type: message/rfc822\r\n\r\nSubject: Fwd: a/b\r\nFrom: x\r\n\r\ninner text\r\n"
      "--=_b--\r\n");
  EXPECT_EQ(message.mime->Text(), "the text");
  const std::vector<AttachmentInfo> attachments = message.mime->Attachments();
  EXPECT_EQ(
      Described(attachments),
      (std::vector<std::string>{"1 notes.txt: notes, not the text",
                                "1 data.bin: " + std::string("\x00\x01\x02\xFF", 4),
                                "5 Fwd_ a_b.eml: Subject: Fwd: a/b\r\nFrom: x\r\n\r\ninner text"}));
  ASSERT_EQ(attachments.size(), 3u);
  EXPECT_EQ(attachments[1].path, "C:\\Docs\\data.bin");
}

TEST(MimeMessage, AnAttachedMessageGivesTheTextOnlyWhenThereIsNoOther) {
  EXPECT_EQ(Text("MIME-Version: 1.0\r\nContent-Type: message/rfc822\r\n\r\n"
                 "Subject: inner\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nforwarded \xC3\xA9"),
            "forwarded \xC3\xA9");
  // A digest's parts are messages unless they say otherwise.
  const Message digest(
      "Content-Type: multipart/digest; boundary=d\r\n\r\n"
      "--d\r\n\r\nSubject: one\r\n\r\nfirst\r\n--d\r\n\r\nSubject: two\r\n\r\nsecond\r\n--d--\r\n");
  EXPECT_EQ(digest.mime->Text(), "first");
  EXPECT_EQ(digest.mime->Attachments().size(), 2u);
}

TEST(MimeMessage, DeepNestingAndEndlessPartsAreBounded) {
  std::string deep = "Content-Type: multipart/mixed; boundary=b0\r\n\r\n";
  for (int level = 1; level < 100; ++level) {
    deep += "--b" + std::to_string(level - 1) + "\r\nContent-Type: multipart/mixed; boundary=b" +
            std::to_string(level) + "\r\n\r\n";
  }
  deep += "--b99\r\n\r\ntoo deep\r\n";
  const Message nested(deep);
  EXPECT_TRUE(nested.mime->Parts().empty());
  EXPECT_EQ(nested.mime->Text(), "");

  std::string many = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
  for (int i = 0; i < 20000; ++i) many += "--b\r\n\r\nx\r\n";
  EXPECT_EQ(Message(many).mime->Parts().size(), MimeMessage::kMostParts);
}

}  // namespace
