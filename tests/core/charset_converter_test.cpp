// The character set converter: declared character sets through iconv or a
// byte table, the rule for undeclared 8-bit text, and that nothing stops a
// conversion or leaves invalid UTF-8 behind.
#include "core/charset_converter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ks::core::CharsetConverter;
using ks::core::IsValidUtf8;

TEST(CharsetConverter, ValidUtf8IsToldFromEverythingElse) {
  EXPECT_TRUE(IsValidUtf8("plain ASCII, long enough for the eight-byte steps"));
  EXPECT_TRUE(IsValidUtf8("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"));
  EXPECT_FALSE(IsValidUtf8("caf\xE9"));                // Latin-1
  EXPECT_FALSE(IsValidUtf8("\xC0\xAF"));               // overlong "/"
  EXPECT_FALSE(IsValidUtf8("\xED\xA0\x80"));           // a surrogate
  EXPECT_FALSE(IsValidUtf8("\xF4\x90\x80\x80"));       // beyond U+10FFFF
  EXPECT_FALSE(IsValidUtf8("twelve bytes\xE2\x82"));   // cut at the end
}

TEST(CharsetConverter, DeclaredCharacterSetsBecomeUtf8) {
  CharsetConverter converter;
  EXPECT_EQ(converter.ToUtf8("ISO-8859-1", "caf\xE9"), "caf\xC3\xA9");
  EXPECT_EQ(converter.ToUtf8("koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4"),
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82");  // Привет
  EXPECT_EQ(converter.ToUtf8("Shift_JIS", "\x93\xFA\x96\x7B"), "\xE6\x97\xA5\xE6\x9C\xAC");  // 日本
  EXPECT_EQ(converter.ToUtf8("iso-2022-jp", "\x1B$BF|K\\\x1B(B!"), "\xE6\x97\xA5\xE6\x9C\xAC!");
  EXPECT_EQ(converter.ToUtf8("\"windows-1252\"", "\x93quoted\x94"),
            "\xE2\x80\x9Cquoted\xE2\x80\x9D");
  // ISO-8859-1 that uses 0x80-0x9F is Windows-1252 in practice.
  EXPECT_EQ(converter.ToUtf8("iso-8859-1", "\x80"), "\xE2\x82\xAC");
}

TEST(CharsetConverter, UndefinedAndBrokenBytesNeverStopAConversion) {
  CharsetConverter converter;
  // Windows-1252 leaves five bytes undefined; they keep their Latin-1
  // characters.
  const std::string undefined = converter.ToUtf8("windows-1252", "a\x81" "b\x8D\x8F\x90\x9D" "c");
  EXPECT_EQ(undefined, "a\xC2\x81" "b\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D" "c");
  // A multi-byte set gives U+FFFD for what it cannot read, and goes on.
  EXPECT_EQ(converter.ToUtf8("shift_jis", "\x93\xFA\xFF\x96\x7B"),
            "\xE6\x97\xA5\xEF\xBF\xBD\xE6\x9C\xAC");
  EXPECT_EQ(converter.ToUtf8("shift_jis", "ab\x93"), "ab\xEF\xBF\xBD");  // cut character
  // Declared UTF-8 that is not: each bad byte becomes U+FFFD.
  EXPECT_EQ(converter.ToUtf8("utf-8", "ok \xE9 ok \xE2\x82"),
            "ok \xEF\xBF\xBD ok \xEF\xBF\xBD\xEF\xBF\xBD");
  // What one text says does not change how the next is read: UTF-16 takes
  // its byte order from a byte-order mark, and its decoder keeps it.
  EXPECT_EQ(converter.ToUtf8("utf-16", std::string_view("\xFE\xFF\x00\x41", 4)), "A");
  EXPECT_EQ(converter.ToUtf8("utf-16", std::string_view("\x41\x00", 2)), "A");
  for (const char* charset : {"utf-7", "iso-2022-jp", "big5", "gb2312", "utf-16"}) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i * 37 + 11);
    EXPECT_TRUE(IsValidUtf8(converter.ToUtf8(charset, bytes))) << charset;
  }
}

TEST(CharsetConverter, UndeclaredTextIsKeptWhenUtf8AndReadInTheCodePageLineByLine) {
  CharsetConverter converter;
  EXPECT_EQ(converter.ToUtf8("", "d\xC3\xA9j\xC3\xA0 vu\r\n"), "d\xC3\xA9j\xC3\xA0 vu\r\n");
  // Lines of both kinds in one text: each is judged alone.
  EXPECT_EQ(converter.ToUtf8("", "caf\xC3\xA9\r\ncaf\xE9\r\n\x80 5\r\n"),
            "caf\xC3\xA9\r\ncaf\xC3\xA9\r\n\xE2\x82\xAC 5\r\n");
  std::string text;
  converter.AppendUndeclared("\xE4", text, "ISO-8859-5");
  EXPECT_EQ(text, "\xD1\x84");  // ф: the code page is the caller's
  text.clear();
  converter.AppendUndeclared("\xE4", text, "no-such-code-page");
  EXPECT_EQ(text, "\xC3\xA4");  // ä: an unknown code page is Windows-1252
  // US-ASCII that is not, and names nobody knows, follow the same rule.
  EXPECT_EQ(converter.ToUtf8("us-ascii", "na\xEFve"), "na\xC3\xAFve");
  EXPECT_EQ(converter.ToUtf8("x-unknown", "na\xEFve"), "na\xC3\xAFve");
  EXPECT_EQ(converter.ToUtf8("utf-8//TRANSLIT", "na\xEFve"), "na\xC3\xAFve");
  EXPECT_FALSE(converter.Knows("x-unknown"));
  EXPECT_TRUE(converter.Knows("KOI8-R"));
}

TEST(CharsetConverter, ManyNamesDoNotWearOutTheConverter) {
  // Made-up names beyond what is kept open are forgotten, not piled up,
  // and the real ones still work after them.
  CharsetConverter converter;
  for (int i = 0; i < 500; ++i) {
    EXPECT_EQ(converter.ToUtf8("x-made-up-" + std::to_string(i), "a\xE9"), "a\xC3\xA9");
    EXPECT_EQ(converter.ToUtf8(i % 2 == 0 ? "koi8-r" : "iso-8859-2", "\xE1"),
              i % 2 == 0 ? "\xD0\x90" : "\xC3\xA1");
  }
}

}  // namespace
