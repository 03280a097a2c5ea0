// Decoding what MIME encodes: Base64 (the decoder as it always worked, and
// what a MIME body needs around it), quoted-printable bodies, and encoded
// words in header values.
#include <gtest/gtest.h>

#include <string>

#include "core/charset_converter.h"
#include "importers/mail/base64_coder.h"
#include "importers/mail/mime_encoded_words.h"
#include "importers/mail/mime_quoted_printable.h"

namespace {

using ks::core::CharsetConverter;
using ks::mail::Base64Coder;
using ks::mail::DecodeHeaderValue;
using ks::mail::DecodeQuotedPrintable;

std::string High(std::string text) {
  for (char& c : text) c = static_cast<char>(static_cast<unsigned char>(c) | 0x80);
  return text;
}

TEST(Base64Coder, GroupsOfFourGiveThreeBytesEach) {
  EXPECT_EQ(Base64Coder::Decode("QUJD"), "ABC");
  EXPECT_EQ(Base64Coder::Decode("SGVsbG8h"), "Hello!");
  // The high bit is ignored on alphabet and padding characters alike.
  EXPECT_EQ(Base64Coder::Decode(High("QUJD")), "ABC");
  EXPECT_EQ(Base64Coder::Decode("Q" + High("U") + "J" + High("D")), "ABC");
  EXPECT_EQ(Base64Coder::Decode("QQ" + High("==")), Base64Coder::Decode("QQ=="));
  // Padding counts as 0 and the output still grows by three; so does a
  // short last group.
  EXPECT_EQ(Base64Coder::Decode("QQ=="), std::string("A\0\0", 3));
  EXPECT_EQ(Base64Coder::Decode("QUI="), std::string("AB\0", 3));
  EXPECT_EQ(Base64Coder::Decode("QUJDQQ"), std::string("ABCA\0\0", 6));
  const auto& table = Base64Coder::Table();
  EXPECT_EQ(table['\r'], Base64Coder::kNotBase64);
  EXPECT_EQ(table[static_cast<unsigned char>('/' | 0x80)], 63);
  EXPECT_EQ(table[static_cast<unsigned char>('=' | 0x80)], Base64Coder::kPadding);
  // A character outside the alphabet spoils its group, and only it.
  const std::string spoiled = Base64Coder::Decode("QU\nDQUJD");
  EXPECT_NE(spoiled.substr(0, 3), "ABC");
  EXPECT_EQ(spoiled.substr(3), "ABC");
}

TEST(Base64Coder, MimeBodiesDecodeToExactlyTheBytesEncoded) {
  EXPECT_EQ(Base64Coder::DecodeMime("QUJD\r\nREVG\r\nRw==\r\n"), "ABCDEFG");
  EXPECT_EQ(Base64Coder::DecodeMime("QUJDREVGRw"), "ABCDEFG");  // padding left out
  EXPECT_EQ(Base64Coder::DecodeMime(" QU JD\tRE*VGRw= \r\n"), "ABCDEFG");
  // What follows the padding is not data (a signature line, a second part).
  EXPECT_EQ(Base64Coder::DecodeMime("QUI=\r\n-- \r\nQUJD"), "AB");
  EXPECT_EQ(Base64Coder::DecodeMime("=QUJD"), "ABC");  // padding where no group ends
  std::string all_bytes;
  for (int i = 0; i < 256; ++i) all_bytes += static_cast<char>(i);
  // The 256 bytes 0..255 as a mailer writes them, 76 characters a line.
  const std::string encoded =
      "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4\r\n"
      "OTo7PD0+P0BBQkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3Bx\r\n"
      "cnN0dXZ3eHl6e3x9fn+AgYKDhIWGh4iJiouMjY6PkJGSk5SVlpeYmZqbnJ2en6ChoqOkpaanqKmq\r\n"
      "q6ytrq+wsbKztLW2t7i5uru8vb6/wMHCw8TFxsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t/g4eLj\r\n"
      "5OXm5+jp6uvs7e7v8PHy8/T19vf4+fr7/P3+/w==\r\n";
  EXPECT_EQ(Base64Coder::DecodeMime(encoded), all_bytes);
}

TEST(QuotedPrintable, EscapesAndSoftLineBreaksAreUndoneAndMalformedEqualsKept) {
  EXPECT_EQ(DecodeQuotedPrintable("caf=E9 =3D =c3=a9"), "caf\xE9 = \xC3\xA9");
  EXPECT_EQ(DecodeQuotedPrintable("one long=\r\n line=\n and more\r\n"), "one long line and more\r\n");
  EXPECT_EQ(DecodeQuotedPrintable("a=ZZ b=4 c=\td="), "a=ZZ b=4 c=\td=");
  EXPECT_EQ(DecodeQuotedPrintable("no escapes at all"), "no escapes at all");
}

TEST(EncodedWords, HeaderValuesAreDecodedToUtf8) {
  CharsetConverter converter;
  auto decode = [&](std::string_view value) { return DecodeHeaderValue(value, converter); };
  EXPECT_EQ(decode("=?iso-8859-1?q?caf=E9_cr=E8me?="), "caf\xC3\xA9 cr\xC3\xA8me");
  EXPECT_EQ(decode("Re: =?UTF-8?B?w6lsw6hWZQ==?= ok"), "Re: \xC3\xA9l\xC3\xA8Ve ok");
  // Adjacent words: the white space between them goes, text around them stays.
  EXPECT_EQ(decode("=?utf-8?q?a?= \r\n\t=?utf-8?q?b?=  c =?utf-8?q?d?="), "ab  c d");
  // A character split between two words of one character set comes out whole.
  EXPECT_EQ(decode("=?UTF-8?B?4oI=?= =?UTF-8?B?rA==?="), "\xE2\x82\xAC");
  EXPECT_EQ(decode("=?koi8-r?b?8NLJ18XU?= =?iso-8859-1?q?=E9?="),
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82\xC3\xA9");
  // RFC 2231 allows a language after the character set.
  EXPECT_EQ(decode("=?utf-8*en?q?hi?="), "hi");
  // Unknown character sets and words that break the form stay as written.
  EXPECT_EQ(decode("=?x-klingon?q?qapla?= =?utf-8?q?ok?="), "=?x-klingon?q?qapla?= ok");
  EXPECT_EQ(decode("=?x-klingon?q?\xE9?="), "=?x-klingon?q?\xC3\xA9?=");  // still UTF-8
  EXPECT_EQ(decode("=?utf-8?x?abc?= =?utf-8?q?unended"), "=?utf-8?x?abc?= =?utf-8?q?unended");
  EXPECT_EQ(decode("=??q?abc?= a=?b"), "=??q?abc?= a=?b");
  // Undeclared 8-bit text beside encoded words follows the library's rule.
  EXPECT_EQ(decode("Caf\xE9 =?utf-8?q?=C3=A9?="), "Caf\xC3\xA9 \xC3\xA9");
  EXPECT_EQ(decode("d\xC3\xA9j\xC3\xA0"), "d\xC3\xA9j\xC3\xA0");

  // Words that never end, or end only far away, are read in one pass: a
  // search for each one's end would take minutes for values this long.
  std::string unended;
  for (int i = 0; i < 200000; ++i) unended += "=?utf-8?q?x\r";
  EXPECT_EQ(decode(unended), unended);
  EXPECT_EQ(decode(unended + "?="), unended + "?=");
}

}  // namespace
