// The decoders that turn a source's bytes into UTF-8 before anything splits
// them: undeclared (ANSI) text, a named character set and rich text's
// escapes.  Each must give the same text however the source is cut into
// pieces; what the decoders make of whole texts is the converter's test and
// the imports' (source_charset_test.cpp).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "core/charset_stream_decoder.h"
#include "core/rich_text_escaper.h"
#include "core/undeclared_text_decoder.h"

namespace {

using ks::core::CharsetStreamDecoder;
using ks::core::IsValidUtf8;
using ks::core::RichTextEscaper;
using ks::core::TextDecoder;
using ks::core::UndeclaredTextDecoder;

std::string Whole(TextDecoder& decoder, std::string_view input) {
  std::string out;
  decoder.Append(input, false, out);
  decoder.Append({}, true, out);
  return out;
}

// Cut into two pieces at every place, and into pieces of one byte: the
// output is the same as for the whole every time.
template <typename MakeDecoder>
void ExpectSameWhereverCut(MakeDecoder make, std::string_view input, const std::string& expected) {
  for (size_t cut = 0; cut <= input.size(); ++cut) {
    auto decoder = make();
    std::string out;
    decoder->Append(input.substr(0, cut), false, out);
    decoder->Append(input.substr(cut), true, out);
    EXPECT_EQ(out, expected) << "cut at " << cut;
  }
  auto decoder = make();
  std::string out;
  for (const char c : input) decoder->Append(std::string_view(&c, 1), false, out);
  decoder->Append({}, true, out);
  EXPECT_EQ(out, expected) << "one byte at a time";
}

TEST(UndeclaredTextDecoder, GivesTheSameTextWhereverABlockEnds) {
  const std::string input = "caf\xC3\xA9 \xF0\x9F\x98\x80\r\nZ\xFCrich\r\n\xE2\x82\xAC\nend \xE9";
  const std::string expected =
      "caf\xC3\xA9 \xF0\x9F\x98\x80\r\nZ\xC3\xBCrich\r\n\xE2\x82\xAC\nend \xC3\xA9";
  ExpectSameWhereverCut([] { return std::make_unique<UndeclaredTextDecoder>(); }, input, expected);
}

TEST(UndeclaredTextDecoder, JudgesALineThatNeverEndsInPartsWithoutSplittingACharacter) {
  // Parts of at most 8 bytes: "aaaaaa€" would be cut inside the euro sign.
  UndeclaredTextDecoder decoder("WINDOWS-1252", 8);
  std::string out;
  const std::string line =
      "aaaaaa\xE2\x82\xAC"
      "bbbbbb\xE2\x82\xAC"
      "cc";
  decoder.Append(line, false, out);
  EXPECT_LE(decoder.HeldBack(), 8u + 3) << "memory stays bounded";
  decoder.Append({}, true, out);
  EXPECT_EQ(out, line);
}

TEST(UndeclaredTextDecoder, ACharacterLongerThanAPartGoesWhole) {
  // Parts of one byte: "Ψ" stays one character, wherever the blocks end
  // (found by the source_text fuzz target).
  ExpectSameWhereverCut([] { return std::make_unique<UndeclaredTextDecoder>("WINDOWS-1252", 1); },
                        std::string("\x90-\0r\xCE\xA8\n", 7),
                        std::string("\xC2\x90-\0r\xCE\xA8\n", 8));
}

TEST(CharsetStreamDecoder, ReadsANamedCharacterSetWhereverABlockEnds) {
  // Shift_JIS: 日本語のテキスト, with "ソ" and "ポ" whose second bytes are "\" and "|".
  const std::string sjis =
      "\x93\xFA\x96\x7B\x8C\xEA\x82\xCC\x83\x65\x83\x4C\x83\x58\x83\x67"
      "\x83\x5C\x83\x7C\r\n";
  const std::string utf8 =
      "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9"
      "\xE3\x83\x88\xE3\x82\xBD\xE3\x83\x9D\r\n";
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("Shift_JIS"); }, sjis, utf8);
  // A stateful encoding keeps its shift state from one block to the next.
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("ISO-2022-JP"); },
                        "\x1B$BF|K\\\x1B(B!", "\xE6\x97\xA5\xE6\x9C\xAC!");
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("UTF-16LE"); },
                        std::string("a\0,\0\xAC\x20\n\0", 8), "a,\xE2\x82\xAC\n");
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("koi8-r"); },
                        "\xF0\xD2\xC9\xD7\xC5\xD4",
                        "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82");
}

TEST(CharsetStreamDecoder, ReadsTheDosCodePageKeepingControlCharacters) {
  // 0x81 u-umlaut, 0x9C pound sign, 0xE1 sharp s, 0xB3 box drawing; NUL and
  // form feed stay what the DOS export and the page delimiter look for.
  auto cp437 = CharsetStreamDecoder::For("CP437");
  EXPECT_EQ(Whole(*cp437,
                  "Gr\xE1\x81"
                  "e \x9C\xB3\r\n"),
            "Gr\u00DF\u00FCe \u00A3\u2502\r\n");
  EXPECT_EQ(Whole(*cp437, std::string("a\0b\f", 4)), std::string("a\0b\f", 4));
}

TEST(CharsetStreamDecoder, RepairsWhatTheCharacterSetDoesNotDefine) {
  // Named UTF-8 keeps whole characters, also cut ones, and marks broken bytes.
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("utf-8"); },
                        "\xE2\x82\xAC x\xE9y \xF0\x9F\x98\x80",
                        "\xE2\x82\xAC x\xEF\xBF\xBDy \xF0\x9F\x98\x80");
  auto sjis = CharsetStreamDecoder::For("SHIFT_JIS");
  const std::string out = Whole(*sjis, "ok\xFF\x93");  // an undefined byte, a lead byte at the end
  EXPECT_TRUE(IsValidUtf8(out));
  EXPECT_EQ(out.substr(0, 2), "ok");
  // 8-bit bytes in "ASCII" are mislabelled text, judged line by line.
  ExpectSameWhereverCut([] { return CharsetStreamDecoder::For("us-ascii"); },
                        "caf\xC3\xA9\ncaf\xE9", "caf\xC3\xA9\ncaf\xC3\xA9");
  EXPECT_EQ(CharsetStreamDecoder::For("no-such-charset"), nullptr);
  EXPECT_EQ(CharsetStreamDecoder::For("utf-8//TRANSLIT"), nullptr);
}

TEST(RichTextEscaper, WritesRawBytesAsTheFormatsEscapesAndKeepsTheMarkup) {
  const std::string rtf =
      "{\\rtf1\\ansi\\ansicpg1252 Caf\xE9 \\'e9 \\u233? \\\\\xE9 {\\b Z\xFC}\\par\r\n}";
  ExpectSameWhereverCut([] { return std::make_unique<RichTextEscaper>(); }, rtf,
                        "{\\rtf1\\ansi\\ansicpg1252 Caf\\'e9 \\'e9 \\u233? \\\\\\'e9 "
                        "{\\b Z\\'fc}\\par\r\n}");
}

TEST(RichTextEscaper, WritesBinaryDataAsHexDigits) {
  // \bin3 with its blank, then three raw bytes; \bin0 and other words stay.
  const std::string rtf = "{\\pict\\bin3 \x01\xFF}\\bin0 x\\binary \xE9";
  ExpectSameWhereverCut([] { return std::make_unique<RichTextEscaper>(); }, rtf,
                        "{\\pict01ff7d\\bin0 x\\binary \\'e9");
}

}  // namespace
