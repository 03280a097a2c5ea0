// The Word converter's readers on their own: the text rules every version
// shares, Write and Word 2.0 files made here, hostile .docx XML, the
// converted copy, and the text of every corpus document compared with
// antiword and catdoc, word for word once blanks are collapsed.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>

#include "converted_copy_file.h"
#include "core/scoped_env.h"
#include "docx_document.h"
#include "doc_file.h"
#include "formats/stream_bytes.h"
#include "modules/tool_output.h"
#include "temp_dir.h"
#include "word_binary_text.h"
#include "word_converter.h"
#include "word_error.h"
#include "word_text_builder.h"
#include "write_document.h"

namespace {

namespace fs = std::filesystem;
using ks::word::WordTextBuilder;

std::string Built(std::u32string_view characters) {
  WordTextBuilder builder;
  for (const char32_t c : characters) builder.Add(c);
  builder.EndStory();
  return builder.Take();
}

TEST(WordTextBuilder, FieldsKeepTheirResultAndDropTheirCode) {
  EXPECT_EQ(Built(U"See \x13 HYPERLINK \"http://x\" \x14the site\x15 now\r"), "See the site now\r\n");
  // A field inside a field's code vanishes with it; one in a result stays.
  EXPECT_EQ(Built(U"\x13 IF \x13 PAGE \x14" U"1\x15 = 1 \x14yes \x13 DATE \x14today\x15\x15."), "yes today.\r\n");
  // A field without a separator has no result.
  EXPECT_EQ(Built(U"a\x13 TOC \x15" U"b"), "ab\r\n");
  // Unbalanced marks neither crash nor swallow the rest of a later story.
  WordTextBuilder builder;
  for (int i = 0; i < 10000; ++i) builder.Add(0x13);
  builder.Add('x');
  builder.EndStory();
  builder.Add('y');
  builder.Add(0x15);
  builder.Add('z');
  EXPECT_EQ(builder.text(), "yz");
}

TEST(WordTextBuilder, LayoutCharactersBecomeTabsAndLineEnds) {
  // Cells end with a tab, the row-end mark ends the line.
  EXPECT_EQ(Built(U"A\x07" U"B\x07\x07" U"C\x07" U"D\x07\x07"), "A\tB\r\nC\tD\r\n");
  EXPECT_EQ(Built(U"one\x0Btwo\x0Cthree\x0E" U"four"), "one\r\ntwo\r\nthree\r\nfour\r\n");
  // Non-breaking hyphen and blank, optional hyphen, anchors of pictures and notes.
  EXPECT_EQ(Built(U"e\x1Email\xA0x co\x1Fop\x01\x08\x02\x05."), "e-mail x coop.\r\n");
}

TEST(WordTextBuilder, Utf16SurrogatesPairOrBecomeReplacementCharacters) {
  WordTextBuilder builder;
  const uint16_t units[] = {0xD83D, 0xDE00, 'a', 0xDC00, 'b', 0xD800};
  builder.AddUtf16(units, std::size(units));
  builder.EndStory();
  EXPECT_EQ(builder.text(), "\xF0\x9F\x98\x80" "a\xEF\xBF\xBD" "b\xEF\xBF\xBD\r\n");
}

// Puts `value` at `at` of `bytes` in `size` bytes, least significant first.
void PutLittleEndian(std::string& bytes, size_t at, uint32_t value, int size = 4) {
  for (int i = 0; i < size; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i));
}

// A Write file: header, text, and one page of paragraph properties whose
// runs end at `ends`, each with the flags byte given (0 = plain).
std::string WriteFile(const std::string& text, const std::vector<std::pair<uint32_t, uint8_t>>& runs) {
  std::string file(128, '\0');
  file[0] = '\x31';
  file[1] = '\xBE';
  file[5] = '\xAB';
  PutLittleEndian(file, 14, 128 + static_cast<uint32_t>(text.size()));
  file += text;
  file.resize((file.size() + 127) / 128 * 128, '\0');
  const auto page = static_cast<uint16_t>(file.size() / 128);
  file[18] = static_cast<char>(page);      // paragraph properties
  file[20] = static_cast<char>(page + 1);  // the font table, after them
  std::string fkp(128, '\0');
  PutLittleEndian(fkp, 0, 128);
  // One property block per run: its length, then 17 bytes of which the last
  // carries the flags.
  size_t property_at = 4 + runs.size() * 6;
  for (size_t r = 0; r < runs.size(); ++r) {
    PutLittleEndian(fkp, 4 + r * 6, runs[r].first);
    PutLittleEndian(fkp, 4 + r * 6 + 4, static_cast<uint32_t>(property_at - 4), 2);
    fkp[property_at] = 17;
    fkp[property_at + 1 + 16] = static_cast<char>(runs[r].second);
    property_at += 18;
  }
  fkp[127] = static_cast<char>(runs.size());
  return file + fkp;
}

TEST(WriteDocument, TextBetweenHeaderAndEndIsRead) {
  const std::string text = "Caf\xE9 menu\r\n\x80 5\tprice\r\n";
  const std::string file = WriteFile(text, {{128 + static_cast<uint32_t>(text.size()), 0}});
  ASSERT_TRUE(ks::word::LooksLikeWrite(file));
  EXPECT_EQ(ks::word::ReadWriteText(file), "Caf\xC3\xA9 menu\r\n\xE2\x82\xAC 5\tprice\r\n");
}

TEST(WriteDocument, PicturesAndRunningHeadsAreLeftOut) {
  const std::string head = "Page header\r\n";
  const std::string picture = std::string("\x01\x02\x03\x88\xFF", 5) + "\r\n";
  const std::string body = "Body text.\r\n";
  const uint32_t a = 128 + static_cast<uint32_t>(head.size());
  const uint32_t b = a + static_cast<uint32_t>(picture.size());
  const uint32_t c = b + static_cast<uint32_t>(body.size());
  const std::string file = WriteFile(head + picture + body, {{a, 0x06}, {b, 0x10}, {c, 0}});
  EXPECT_EQ(ks::word::ReadWriteText(file), "Body text.\r\n");
}

TEST(WriteDocument, DamagedHeadersAreRefusedOrReadWithinTheFile) {
  EXPECT_FALSE(ks::word::LooksLikeWrite("\x31\xBE short"));
  EXPECT_THROW(ks::word::ReadWriteText(std::string(200, 'x')), ks::word::WordError);
  // An end of text far beyond the file, property pages that do not exist.
  std::string file = WriteFile("text\r\n", {});
  file[17] = '\x7F';
  file[18] = '\xFF';
  file[19] = '\x7F';
  EXPECT_NO_THROW(ks::word::ReadWriteText(file));
}

// A Word 2.0 file: its block, then its 8-bit text at fcMin.
std::string Word2File(const std::string& text, bool encrypted = false) {
  std::string file(0x180, '\0');
  file[0] = '\xDB';
  file[1] = '\xA5';
  file[2] = 45;
  file[6] = 0x09;  // English
  file[7] = 0x04;
  if (encrypted) file[0x0B] = 0x01;
  const uint32_t fc_min = static_cast<uint32_t>(file.size());
  PutLittleEndian(file, 0x18, fc_min);
  PutLittleEndian(file, 0x1C, fc_min + static_cast<uint32_t>(text.size()));
  PutLittleEndian(file, 0x34, static_cast<uint32_t>(text.size()));
  return file + text;
}

TEST(Word2Document, PlainTextIsReadInTheDocumentsCodePage) {
  EXPECT_EQ(ks::word::ReadWord2Text(Word2File("Na\xEFve r\xE9sum\xE9\rsecond \x13 PAGE \x14" "7\x15\r")),
            "Na\xC3\xAFve r\xC3\xA9sum\xC3\xA9\r\nsecond 7\r\n");
  EXPECT_THROW(ks::word::ReadWord2Text(Word2File("secret", true)), ks::word::WordError);
  // A story longer than the file is read as far as the file goes.
  std::string cut = Word2File("abc");
  cut[0x34] = '\xFF';
  cut[0x35] = '\xFF';
  EXPECT_EQ(ks::word::ReadWord2Text(cut), "abc\r\n");
}

// A Word 6.0 main stream of a fast-saved file: its pieces stored in
// another order than they are read, and a formatting run before them.
std::string Word6FastSaved() {
  std::string stream(0x400, '\0');
  PutLittleEndian(stream, 0x00, 0xA5DC, 2);
  PutLittleEndian(stream, 0x02, 101, 2);
  PutLittleEndian(stream, 0x06, 0x0419, 2);  // Russian: code page 1251
  PutLittleEndian(stream, 0x0A, 0x0004, 2);  // complex
  const std::string first = "\xcf\xf0\xe8\xe2\xe5\xf2 ";  // "Привет " in 1251
  const std::string second = "world\r";
  PutLittleEndian(stream, 0x34, static_cast<uint32_t>(first.size() + second.size()));
  std::string clx = std::string("\x01\x02\x00\x00\x00\x02", 6);
  std::string plc(3 * 4 + 2 * 8, '\0');
  PutLittleEndian(plc, 4, static_cast<uint32_t>(first.size()));
  PutLittleEndian(plc, 8, static_cast<uint32_t>(first.size() + second.size()));
  PutLittleEndian(plc, 12 + 2, 0x380);  // the first piece is stored after the second
  PutLittleEndian(plc, 20 + 2, 0x300);
  std::string length(4, '\0');
  PutLittleEndian(length, 0, static_cast<uint32_t>(plc.size()));
  clx += length + plc;
  PutLittleEndian(stream, 0x160, 0x200);
  PutLittleEndian(stream, 0x164, static_cast<uint32_t>(clx.size()));
  stream.replace(0x200, clx.size(), clx);
  stream.replace(0x300, second.size(), second);
  stream.replace(0x380, first.size(), first);
  return stream;
}

TEST(WordBinaryText, FastSavedWord6PiecesAreReadInTheirOrder) {
  const std::string stream = Word6FastSaved();
  const ks::word::WordFib fib = ks::word::ReadWordFib(stream);
  EXPECT_EQ(fib.version, ks::word::WordVersion::kWord6);
  ks::formats::MemoryStreamBytes bytes(stream);
  EXPECT_EQ(ks::word::ReadWordBinaryText(fib, bytes, bytes), "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 world\r\n");

  // A piece table naming text beyond the stream is a damaged document.
  std::string damaged = stream;
  damaged[0x200 + 10 + 12 + 2 + 1] = '\x7F';
  ks::formats::MemoryStreamBytes damaged_bytes(damaged);
  EXPECT_THROW(ks::word::ReadWordBinaryText(ks::word::ReadWordFib(damaged), damaged_bytes, damaged_bytes),
               ks::word::WordError);
}

TEST(DocxDocument, BodyRunsTablesAndRevisions) {
  const std::string xml =
      R"(<?xml version="1.0"?><w:document xmlns:w="w"><w:body>)"
      R"(<w:p><w:r><w:t>Hello</w:t><w:tab/><w:t xml:space="preserve">world </w:t></w:r>)"
      R"(<w:del><w:r><w:delText>gone</w:delText></w:r></w:del><w:ins><w:r><w:t>new</w:t></w:r></w:ins></w:p>)"
      R"(<w:p><w:r><w:fldChar w:fldCharType="begin"/><w:instrText>PAGE</w:instrText>)"
      R"(<w:fldChar w:fldCharType="separate"/><w:t>3</w:t><w:fldChar w:fldCharType="end"/><w:br/><w:t>x</w:t></w:r></w:p>)"
      R"(<w:tbl><w:tr><w:tc><w:p><w:r><w:t>a</w:t></w:r></w:p></w:tc><w:tc><w:p><w:r><w:t>b</w:t></w:r></w:p></w:tc></w:tr></w:tbl>)"
      R"(</w:body></w:document>)";
  std::string text;
  ks::word::AppendDocxPartText(xml, text);
  EXPECT_EQ(text, "Hello\tworld new\r\n3\r\nx\r\na\r\n\tb\r\n\r\n");
}

TEST(DocxDocument, HostileXmlIsNeverFollowed) {
  // An external entity is not fetched, an internal one not expanded (no
  // "billion laughs"), deep nesting does not exhaust the stack.
  const std::string entities =
      R"(<?xml version="1.0"?><!DOCTYPE d [<!ENTITY ext SYSTEM "file:///etc/passwd">)"
      R"(<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;">]>)"
      R"(<w:document xmlns:w="w"><w:body><w:p><w:r><w:t>&ext;&b;</w:t></w:r></w:p></w:body></w:document>)";
  std::string text;
  ks::word::AppendDocxPartText(entities, text);
  EXPECT_EQ(text.find("root:"), std::string::npos);
  EXPECT_LT(text.size(), 64u) << text;

  std::string deep = "<w:document xmlns:w=\"w\">";
  for (int i = 0; i < 200000; ++i) deep += "<w:p>";
  std::string deep_text;
  EXPECT_THROW(ks::word::AppendDocxPartText(deep, deep_text), ks::word::WordError);  // never closed
  for (int i = 0; i < 200000; ++i) deep += "</w:p>";
  deep += "</w:document>";
  EXPECT_NO_THROW(ks::word::AppendDocxPartText(deep, deep_text));
}

TEST(ConvertedCopyFile, IsPrivateAndInTheTemporaryImportFolder) {
  TempDir dir;
  const ScopedEnv tmpdir("TMPDIR", dir.path().string());
  const std::string path = ks::word::WriteConvertedCopy("text");
  const std::string second = ks::word::WriteConvertedCopy("text");
  EXPECT_EQ(fs::path(path).parent_path(), dir.path() / "KSTmpImp");
  struct stat info {};
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_NE(path, second) << "every copy has a name of its own";
}

// ---- Compared with other readers -------------------------------------------

// The words of a text, a non-breaking blank counting as a blank (antiword
// writes one where the document has one; we write a plain blank).
std::vector<std::string> WordsOf(const std::string& text) {
  return Words(std::regex_replace(text, std::regex("\xC2\xA0"), " "));
}

// What antiword adds to a document's words: table borders, note numbers
// and the lines above the notes.
std::string WithoutAntiwordLayout(std::string text) {
  text = std::regex_replace(text, std::regex("-{5,}"), " ");
  text = std::regex_replace(text, std::regex("\\[([0-9]+|[ivxlc]+)\\]"), " ");
  std::replace(text.begin(), text.end(), '|', ' ');
  return text;
}

// What catdoc adds: field codes (we keep the results only) and its note on
// fast-saved files.
std::string WithoutCatdocExtras(std::string text) {
  text = std::regex_replace(text, std::regex("(HYPERLINK|FORMTEXT)( \"[^\"]*\")?"), " ");
  return std::regex_replace(text, std::regex("\\[This was fast-saved[^\\]]*\\]"), " ");
}

// Whether `word` is what a reader writes for a character it cannot write
// (beyond 16 bits): a replacement character, or each UTF-16 half encoded
// on its own (bytes ED A0 to ED BF).
bool StandsForUnwritableCharacter(const std::string& word) {
  if (word.find("\xEF\xBF\xBD") != std::string::npos) return true;
  for (size_t i = 0; i + 1 < word.size(); ++i) {
    if (word[i] == '\xED' && (static_cast<unsigned char>(word[i + 1]) & 0xE0) == 0xA0) return true;
  }
  return false;
}

// Equal word for word, except where a reader's word stands for a character
// it cannot write.
void ExpectSameWords(const std::vector<std::string>& reference, const std::vector<std::string>& ours,
                     const std::string& what) {
  ASSERT_EQ(reference.size(), ours.size()) << what;
  for (size_t i = 0; i < ours.size(); ++i) {
    if (StandsForUnwritableCharacter(reference[i])) continue;
    EXPECT_EQ(reference[i], ours[i]) << what << ", word " << i;
  }
}

TEST(WordCorpus, TextAgreesWithAntiwordAndCatdoc) {
  const fs::path corpus = fs::path(KS_SHARED_DIR) / "corpus" / "doc";
  if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus";
  if (!HaveTool("antiword") || !HaveTool("catdoc")) GTEST_SKIP() << "antiword or catdoc is not installed";
  // Which reader each file is compared with.  antiword refuses Word 6/95
  // and fast-saved files ("too small") and lays nested or wrapped table
  // cells out in its own order; catdoc prints headers (which we leave
  // out) and drops a paragraph of wx-test07.
  const std::map<std::string, std::string> reference = {
      {"poi-Word6.doc", "catdoc"},
      {"poi-Word95.doc", "catdoc"},
      {"poi-empty.doc", "antiword"},
      {"poi-innertable.doc", "catdoc"},
      {"wx-test01-revisions-unicode.doc", "antiword"},
      {"wx-test03-table-hyperlinks.doc", "catdoc"},
      {"wx-test04-unicode-headers.doc", "antiword"},
      {"wx-test11-chinese-fastsaved.doc", "catdoc"},
      {"wx-test12-table-empty-cells.doc", "antiword"},
      {"wx-test13-footnotes-endnotes.doc", "antiword"},
      {"wx-test16-textboxes.doc", "antiword"},
  };
  for (const auto& [name, reader] : reference) {
    const std::string path = (corpus / name).string();
    const std::vector<std::string> ours = WordsOf(ks::word::ReadWordFileText(path));
    if (reader == "antiword") {
      ExpectSameWords(WordsOf(WithoutAntiwordLayout(RunTool("antiword", "-w 0", path).output)), ours, name);
    } else {
      ExpectSameWords(WordsOf(WithoutCatdocExtras(RunTool("catdoc", "-w", path).output)), ours, name);
    }
  }
}

TEST(WordCorpus, FormLaidOutInTablesHasAntiwordsWords) {
  // antiword moves a cell of this form's tables to the end of its row and
  // writes an empty form field as a blank ("Type :"): the words agree as a
  // collection, with the blank taken out.
  const fs::path path = fs::path(KS_SHARED_DIR) / "corpus" / "doc" / "wx-test07-form.doc";
  if (!fs::exists(path)) GTEST_SKIP() << "no corpus";
  if (!HaveTool("antiword")) GTEST_SKIP() << "antiword is not installed";
  std::string theirs = WithoutAntiwordLayout(RunTool("antiword", "-w 0", path.string()).output);
  theirs = std::regex_replace(theirs, std::regex(" :"), ":");
  std::vector<std::string> a = WordsOf(theirs);
  std::vector<std::string> b = WordsOf(ks::word::ReadWordFileText(path.string()));
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  std::vector<std::string> only_theirs, only_ours;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(only_theirs));
  std::set_difference(b.begin(), b.end(), a.begin(), a.end(), std::back_inserter(only_ours));
  EXPECT_EQ(only_theirs, std::vector<std::string>{});
  EXPECT_EQ(only_ours, std::vector<std::string>{});
}

TEST(WordCorpus, UnreadableDocumentsSayWhy) {
  const fs::path corpus = fs::path(KS_SHARED_DIR) / "corpus";
  if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus";
  const std::pair<const char*, const char*> cases[] = {
      {"doc/poi-password_password_cryptoapi.doc", "encrypted"},
      {"doc/poi-password_tika_binaryrc4.doc", "encrypted"},
      {"docx/poi-bug53475-password-is-pass.docx", "encrypted"},
      {"doc/wx-badfile-01-bad-header.doc", "damaged"},
      {"docx/poi-truncated62886.docx", "zip"},
      {"wpd/testWordPerfect.wpd", "WordPerfect"},
  };
  for (const auto& [file, why] : cases) {
    try {
      ks::word::ReadWordFileText((corpus / file).string());
      ADD_FAILURE() << file << " was read";
    } catch (const std::exception& error) {
      EXPECT_NE(std::string(error.what()).find(why), std::string::npos) << file << ": " << error.what();
    }
  }
}

}  // namespace
