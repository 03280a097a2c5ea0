#include "core/document_splitter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace ks::core {
namespace {

struct Split {
  std::vector<std::string> documents;
  std::vector<std::string> pieces;  // every piece as handed out
  uint64_t consumed = 0;
};

// Feeds `source` in blocks of `block` bytes and collects the documents.
Split SplitSource(const DocumentDelimiter& delimiter, const std::string& source, size_t block) {
  DocumentSplitter splitter(delimiter);
  Split out;
  std::string current;
  auto sink = [&](std::string_view piece, bool end) {
    out.pieces.emplace_back(piece);
    current.append(piece);
    if (end) {
      out.documents.push_back(current);
      current.clear();
    }
    return true;
  };
  for (size_t at = 0; at < source.size(); at += block) {
    EXPECT_TRUE(splitter.Feed(std::string_view(source).substr(at, block), false, sink));
  }
  EXPECT_TRUE(splitter.Feed({}, true, sink));
  EXPECT_TRUE(current.empty()) << "a document was left without its end";
  out.consumed = splitter.consumed();
  return out;
}

DocumentDelimiter Delimiter(uint32_t flags, int32_t lines = 0, std::string text = {}) {
  return DocumentDelimiter{flags, lines, std::move(text)};
}

using Docs = std::vector<std::string>;

TEST(DocumentSplitter, EachDelimiterCutsWhereItShould) {
  using D = DocumentDelimiter;
  const auto split = [](const DocumentDelimiter& delimiter, const std::string& source,
                        size_t block = 4096) {
    return SplitSource(delimiter, source, block).documents;
  };
  const std::string whole = "one\r\n\r\ntwo\fthree\r\nlast line without end";
  EXPECT_EQ(split(Delimiter(0), whole), Docs{whole}) << "no delimiter: one document";
  EXPECT_EQ(split(Delimiter(0), whole, 3), Docs{whole});
  EXPECT_EQ(split(Delimiter(D::kPageBreak), "Page one\r\n\f\r\nPage two\r\n\f\r\nPage three"),
            (Docs{"Page one\r\n", "Page two\r\n", "Page three"}))
      << "a page break alone on its line drops the line";
  EXPECT_EQ(split(Delimiter(D::kPageBreak), "a\nb\fc\nd\f\fe"), (Docs{"a\nb", "c\nd", "e"}))
      << "a page break inside a line starts the next document after it";
  EXPECT_EQ(
      split(Delimiter(D::kBlankLine), "\r\n\r\nfirst\r\nstill first\r\n \t\r\n\r\nsecond\r\n\r\n"),
      (Docs{"first\r\nstill first\r\n", "second\r\n"}))
      << "blank lines end documents and empty documents are dropped";
  EXPECT_EQ(split(Delimiter(D::kEveryNLines, 2), "1\r\n2\n3\r4\r\n5"),
            (Docs{"1\r\n2\n", "3\r4\r\n", "5"}))
      << "lines of any line end count";
  EXPECT_EQ(split(Delimiter(D::kEveryNLines, 0), "a\nb\n"), (Docs{"a\n", "b\n"}));
  const std::string strings = "alpha\r\n----\r\nbeta ---- gamma\r\n----";
  EXPECT_EQ(split(Delimiter(D::kString, 0, "----"), strings),
            (Docs{"alpha\r\n", "beta ", " gamma\r\n"}))
      << "the end string is in neither document";
  EXPECT_EQ(split(Delimiter(D::kString, 0, ""), strings), Docs{strings}) << "never matches";
  EXPECT_EQ(split(Delimiter(D::kPageBreak | D::kBlankLine), "a\r\n\r\nb\r\n\f\r\nc"),
            (Docs{"a\r\n", "b\r\n", "c"}));
  // "\r" ends a block, "\n" starts the next: one CR LF line end, not two.
  EXPECT_EQ(split(Delimiter(D::kEveryNLines, 1), "a\r\nb\r\nc", 2), (Docs{"a\r\n", "b\r\n", "c"}));
}

TEST(DocumentSplitter, AStringBeforeAPageBreakInItsLineEndsADocument) {
  // Found by fuzz_document_splitter: the string used to be looked for only
  // after the line's last form feed.
  using D = DocumentDelimiter;
  EXPECT_EQ(
      SplitSource(Delimiter(D::kPageBreak | D::kString, 0, "END"), "aENDb\fcENDd\fe\r\nf", 4096)
          .documents,
      (Docs{"a", "b", "c", "d", "e\r\nf"}));
}

TEST(DocumentSplitter, PiecesOfALongDocumentEndAtLineEnds) {
  std::string source;
  for (int i = 0; i < 200; ++i) source += "line " + std::to_string(i) + "\r\n";
  const Split split = SplitSource(Delimiter(0), source, 64);
  ASSERT_EQ(split.documents, Docs{source});
  ASSERT_GT(split.pieces.size(), 10u);
  for (size_t i = 0; i + 1 < split.pieces.size(); ++i) {
    const std::string& piece = split.pieces[i];
    if (piece.empty()) continue;
    EXPECT_EQ(piece.back(), '\n') << "piece " << i << " splits a line";
  }
}

TEST(DocumentSplitter, ALineLongerThanTheHoldLimitIsCutWithoutLoss) {
  const std::string source(3 << 20, 'x');
  const Split split = SplitSource(Delimiter(DocumentDelimiter::kBlankLine), source, 1 << 16);
  EXPECT_EQ(split.documents, Docs{source});
  EXPECT_EQ(split.consumed, source.size());
}

TEST(DocumentSplitter, ResultDoesNotDependOnBlockSize) {
  std::mt19937 random(7);
  const char alphabet[] = {'a', 'b', ' ', '\t', '\r', '\n', '\f', '-'};
  for (int round = 0; round < 40; ++round) {
    std::string source;
    const int length = 1 + static_cast<int>(random() % 400);
    for (int i = 0; i < length; ++i) source += alphabet[random() % sizeof alphabet];
    for (uint32_t flags : {0u, 1u, 2u, 3u, 4u, 8u, 15u}) {
      const DocumentDelimiter delimiter = Delimiter(flags, 3, "--");
      const Split whole = SplitSource(delimiter, source, source.size());
      for (size_t block : {1u, 2u, 3u, 7u, 64u}) {
        const Split cut = SplitSource(delimiter, source, block);
        EXPECT_EQ(cut.documents, whole.documents) << "flags " << flags << " block " << block
                                                  << " source " << testing::PrintToString(source);
        EXPECT_EQ(cut.consumed, source.size());
      }
    }
  }
}

TEST(DocumentSplitter, SinkCanStopTheSplit) {
  DocumentSplitter splitter(Delimiter(DocumentDelimiter::kBlankLine));
  int calls = 0;
  auto sink = [&](std::string_view, bool) { return ++calls < 2; };
  EXPECT_FALSE(splitter.Feed("a\n\nb\n\nc\n\n", true, sink));
  EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace ks::core
