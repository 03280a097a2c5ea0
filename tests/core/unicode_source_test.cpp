// Source files that declare Unicode with a byte-order mark, and the UTF-16
// decoding behind them.
#include <gtest/gtest.h>

#include <string>

#include "api/write_file.h"
#include "core/source_file.h"
#include "core/utf16_decoder.h"

namespace ks::core {
namespace {

// UTF-16LE of a text of BMP letters and one pair (U+1F600), and its UTF-8.
const std::string kUtf16Le("a\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE\r\0\n\0", 14);
const std::string kUtf8 = "a\u00E9\u20AC\U0001F600\r\n";

std::string Swapped(const std::string& utf16) {
  std::string out = utf16;
  for (size_t i = 0; i + 1 < out.size(); i += 2) std::swap(out[i], out[i + 1]);
  return out;
}

std::string ReadWhole(SourceFile& file, size_t piece) {
  std::string text, buffer(piece, '\0');
  while (true) {
    const ssize_t got = file.Read(buffer.data(), buffer.size());
    EXPECT_GE(got, 0);
    if (got <= 0) return text;
    text.append(buffer.data(), static_cast<size_t>(got));
  }
}

TEST(Utf16Decoder, WhatCannotBeDecodedBecomesOneReplacementEach) {
  Utf16Decoder decoder(Utf16Decoder::ByteOrder::kLittleEndian);
  std::string out;
  // A lone low surrogate, then text, then half of a unit at the very end.
  decoder.Append(std::string("\x00\xDCx\0y", 5), true, out);
  EXPECT_EQ(out, "\uFFFDx\uFFFD");
}

TEST(SourceFileEncoding, Utf16FilesArriveAsUtf8AndProgressCountsTheFilesBytes) {
  TempDir dir;
  // Several decoding blocks, with pairs cut at their ends in most of them.
  std::string utf16 = "\xFF\xFE", utf8;
  while (utf16.size() < 300'000) {
    utf16 += kUtf16Le;
    utf8 += kUtf8;
  }
  utf16 += std::string("z", 1);  // an odd last byte
  utf8 += "\uFFFD";
  SourceFile file;
  ASSERT_TRUE(file.Open(WriteFile(dir, "u.csv", utf16)));
  EXPECT_TRUE(file.DeclaresUnicode());
  const std::string text = ReadWhole(file, 1000);
  EXPECT_TRUE(text == utf8) << text.size() << " bytes against " << utf8.size();
  EXPECT_EQ(file.FileOffsetOf(0), 2u) << "after the mark";
  EXPECT_EQ(file.FileOffsetOf(text.size()), utf16.size());
  uint64_t previous = 0;
  for (uint64_t at = 0; at <= text.size(); at += 997) {
    const uint64_t offset = file.FileOffsetOf(at);
    EXPECT_GE(offset, previous);
    EXPECT_LE(offset, utf16.size());
    previous = offset;
  }
  const std::string big_endian = "\xFE\xFF" + Swapped(kUtf16Le);
  ASSERT_TRUE(file.Open(WriteFile(dir, "be.txt", big_endian)));
  EXPECT_EQ(ReadWhole(file, 3), kUtf8);
}

TEST(SourceFileEncoding, AUtf8MarkIsDroppedAndOtherFilesArriveByteForByte) {
  TempDir dir;
  SourceFile file;
  ASSERT_TRUE(file.Open(WriteFile(dir, "bom.csv", "\xEF\xBB\xBFid,x\r\n")));
  EXPECT_TRUE(file.DeclaresUnicode());
  EXPECT_EQ(ReadWhole(file, 4), "id,x\r\n");
  EXPECT_EQ(file.FileOffsetOf(6), 9u);
  for (const std::string& bytes : {std::string("\xFF", 1), std::string("\xFF\x41\0", 3),
                                   std::string("\xEF\xBB", 2), std::string()}) {
    ASSERT_TRUE(file.Open(WriteFile(dir, "plain.txt", bytes)));
    EXPECT_FALSE(file.DeclaresUnicode());
    EXPECT_EQ(ReadWhole(file, 2), bytes);
    EXPECT_EQ(file.FileOffsetOf(bytes.size()), bytes.size());
  }
}

}  // namespace
}  // namespace ks::core
