// The record reader: line ends of every kind, line ends inside quoted text,
// the blank line that ends a file, NULs, block boundaries, the record-size
// limit, and the real sources (file descriptor, stream).
#include "importers/text/record_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "temp_dir.h"

namespace ks::text {
namespace {

using Records = std::vector<std::string>;
using Outcome = RecordReader::Outcome;

struct ReadResult {
  Records records;
  Outcome last = Outcome::kRecord;  // the outcome that ended the reading
};

ReadResult ReadAll(ByteSource& source, char qualifier, size_t limit) {
  RecordReader reader(source, limit);
  ReadResult result;
  std::string record;
  while ((result.last = reader.Read(qualifier, &record)) == Outcome::kRecord) {
    result.records.push_back(record);
  }
  return result;
}

// Reads `text` whole and in pieces of 1, 2, 3 and 7 bytes, expecting the same
// records each time, so that no rule depends on where a block ends.
ReadResult ReadText(std::string_view text, char qualifier = '"',
                    size_t limit = RecordReader::kDefaultMaxRecordBytes) {
  StringSource whole(text);
  const ReadResult expected = ReadAll(whole, qualifier, limit);
  for (const size_t piece : {1, 2, 3, 7}) {
    StringSource pieces(text, piece);
    const ReadResult result = ReadAll(pieces, qualifier, limit);
    EXPECT_EQ(result.records, expected.records) << "in pieces of " << piece;
    EXPECT_EQ(result.last, expected.last) << "in pieces of " << piece;
  }
  return expected;
}

// ---- Line ends ----

TEST(RecordReaderLineEnds, CrLfLfAndCrFilesGiveTheSameRecords) {
  const Records expected{"a,b", "c,d", "e"};
  EXPECT_EQ(ReadText("a,b\r\nc,d\r\ne\r\n").records, expected);
  EXPECT_EQ(ReadText("a,b\nc,d\ne\n").records, expected);
  EXPECT_EQ(ReadText("a,b\rc,d\re\r").records, expected);
}

TEST(RecordReaderLineEnds, LfOnlyAndCrOnlyLinesKeepTheirFirstCharacter) {
  EXPECT_EQ(ReadText("abc\ndef\nghi").records, (Records{"abc", "def", "ghi"}));
  EXPECT_EQ(ReadText("abc\rdef\rghi").records, (Records{"abc", "def", "ghi"}));
}

TEST(RecordReaderLineEnds, LfCrIsOneLineEndToo) {
  EXPECT_EQ(ReadText("ab\n\rcd\n\r").records, (Records{"ab", "cd"}));
}

TEST(RecordReaderLineEnds, LastLineWithoutLineEndIsARecord) {
  const ReadResult result = ReadText("one\r\ntwo");
  EXPECT_EQ(result.records, (Records{"one", "two"}));
  EXPECT_EQ(result.last, Outcome::kEndOfInput);
}

TEST(RecordReaderLineEnds, EmptyInputEndsAtOnce) {
  const ReadResult result = ReadText("");
  EXPECT_TRUE(result.records.empty());
  EXPECT_EQ(result.last, Outcome::kEndOfInput);
}

// ---- Quoted text ----

TEST(RecordReaderQuotes, LineEndInsideQuotesIsKeptAndTheRecordGoesOn) {
  EXPECT_EQ(ReadText("1,\"x\r\ny\",2\r\n3\r\n").records, (Records{"1,\"x\r\ny\",2", "3"}));
  EXPECT_EQ(ReadText("1,\"x\ny\",2\n3\n").records, (Records{"1,\"x\ny\",2", "3"}));
  EXPECT_EQ(ReadText("1,\"x\ry\",2\r3\r").records, (Records{"1,\"x\ry\",2", "3"}));
}

TEST(RecordReaderQuotes, BlankLineInsideQuotesDoesNotEndTheFile) {
  EXPECT_EQ(ReadText("\"a\r\n\r\nb\"\r\nc\r\n").records, (Records{"\"a\r\n\r\nb\"", "c"}));
}

TEST(RecordReaderQuotes, EveryQualifierTogglesSoADoubledOneKeepsTheTextQuoted) {
  EXPECT_EQ(ReadText("\"say \"\"hi\r\nthere\"\"\"\r\nnext").records,
            (Records{"\"say \"\"hi\r\nthere\"\"\"", "next"}));
}

TEST(RecordReaderQuotes, QualifierMayStandAnywhereInTheRecord) {
  EXPECT_EQ(ReadText("ab\"c\nd\"e\nf").records, (Records{"ab\"c\nd\"e", "f"}));
}

TEST(RecordReaderQuotes, TheApostropheQualifiesWhenItIsTheQualifier) {
  EXPECT_EQ(ReadText("'a\nb',\"c\nd\"\n", '\'').records, (Records{"'a\nb',\"c", "d\""}));
}

TEST(RecordReaderQuotes, WithoutAQualifierEveryLineIsARecord) {
  EXPECT_EQ(ReadText("\"a\nb\"\n", '\0').records, (Records{"\"a", "b\""}));
}

TEST(RecordReaderQuotes, UnclosedQuoteRunsToTheEndOfTheInput) {
  const ReadResult result = ReadText("a\n\"b\nc\n\nd");
  EXPECT_EQ(result.records, (Records{"a", "\"b\nc\n\nd"}));
  EXPECT_EQ(result.last, Outcome::kEndOfInput);
}

// ---- The blank line that ends a file ----

TEST(RecordReaderBlankLine, ABlankLineEndsTheFileInEveryLineEndStyle) {
  for (const char* text : {"a\r\n\r\nb\r\n", "a\n\nb\n", "a\r\rb\r", "a\n\r\n\rb\n\r"}) {
    const ReadResult result = ReadText(text);
    EXPECT_EQ(result.records, (Records{"a"})) << testing::PrintToString(std::string(text));
    EXPECT_EQ(result.last, Outcome::kEmptyRecord);
  }
}

TEST(RecordReaderBlankLine, ABlankFirstLineEndsTheFileBeforeAnyRecord) {
  const ReadResult result = ReadText("\r\na,b\r\n");
  EXPECT_TRUE(result.records.empty());
  EXPECT_EQ(result.last, Outcome::kEmptyRecord);
}

TEST(RecordReaderBlankLine, ALineOfBlanksIsNotEmpty) {
  EXPECT_EQ(ReadText("a\n \nb\n").records, (Records{"a", " ", "b"}));
}

// ---- NUL ----

TEST(RecordReaderNul, ANulEndsTheRecordAndIsDropped) {
  EXPECT_EQ(ReadText(std::string("ab\0cd\n", 6)).records, (Records{"ab", "cd"}));
}

TEST(RecordReaderNul, TheLineEndAfterANulReadsAsABlankLine) {
  const ReadResult result = ReadText(std::string("1,2,\0\n3,4\n", 10));
  EXPECT_EQ(result.records, (Records{"1,2,"}));
  EXPECT_EQ(result.last, Outcome::kEmptyRecord);
}

TEST(RecordReaderNul, ANulEndsTheRecordEvenInsideQuotes) {
  // The next record starts outside quoted text, so its quote opens some.
  EXPECT_EQ(ReadText(std::string("\"a\0b\"\nc", 7)).records, (Records{"\"a", "b\"\nc"}));
}

// ---- Positions ----

TEST(RecordReaderPositions, OffsetsCountTheLineEndsTaken) {
  StringSource source("ab\r\ncd\neof");
  RecordReader reader(source);
  std::string record;
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(reader.RecordOffset(), 0u);
  EXPECT_EQ(reader.BytesConsumed(), 4u);
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(reader.RecordOffset(), 4u);
  EXPECT_EQ(reader.BytesConsumed(), 7u);
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(reader.BytesConsumed(), 10u);
  EXPECT_EQ(reader.Read('"', &record), Outcome::kEndOfInput);
}

// ---- Size limit and memory ----

// Endless input: one quote, then 'x' for ever.  Counts what was asked of it.
class EndlessQuoteSource : public ByteSource {
 public:
  ssize_t Read(char* buffer, size_t size) override {
    for (size_t i = 0; i < size; ++i) buffer[i] = (served_ + i == 0) ? '"' : 'x';
    served_ += size;
    return static_cast<ssize_t>(size);
  }
  uint64_t served() const { return served_; }

 private:
  uint64_t served_ = 0;
};

TEST(RecordReaderLimit, ARecordOverTheLimitStopsTheFileAndStaysStopped) {
  const ReadResult result = ReadText("short\n" + std::string(30, 'x') + "\nmore\n", '"', 10);
  EXPECT_EQ(result.records, (Records{"short"}));
  EXPECT_EQ(result.last, Outcome::kRecordTooLong);

  StringSource source("0123456789A\nok\n");
  RecordReader reader(source, 10);
  std::string record;
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
  EXPECT_TRUE(record.empty());
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
}

TEST(RecordReaderLimit, ARecordOfExactlyTheLimitIsRead) {
  EXPECT_EQ(ReadText("0123456789\nok", '"', 10).records, (Records{"0123456789", "ok"}));
}

TEST(RecordReaderLimit, AnUnclosedQuoteReadsNoMoreThanTheLimitAndABlock) {
  EndlessQuoteSource source;
  RecordReader reader(source, 1 << 20);
  std::string record;
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
  EXPECT_LE(source.served(), (1u << 20) + RecordReader::kBlockSize);
}

TEST(RecordReaderLimit, AFiftyMegabyteQuotedFieldIsReadWhole) {
  std::string text = "a,\"";
  text.append(50u << 20, 'x');
  text[1000] = '\r';
  text[1001] = '\n';
  text += "\",b\r\nnext\r\n";
  StringSource source(text);
  RecordReader reader(source);
  std::string record;
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(record.size(), text.size() - 8);
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(record, "next");
}

// ---- Sources ----

class FailingSource : public ByteSource {
 public:
  ssize_t Read(char* buffer, size_t size) override {
    if (calls_++ > 0) return -1;
    const std::string_view text = "ab\ncd";
    const size_t count = std::min(size, text.size());
    text.copy(buffer, count);
    return static_cast<ssize_t>(count);
  }

 private:
  int calls_ = 0;
};

TEST(RecordReaderSources, AReadFailureStopsTheFileAndIsReported) {
  FailingSource source;
  RecordReader reader(source);
  std::string record;
  ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
  EXPECT_EQ(record, "ab");
  EXPECT_EQ(reader.Read('"', &record), Outcome::kReadFailed) << "cd was cut short by the failure";
  EXPECT_EQ(reader.Read('"', &record), Outcome::kReadFailed);
}

TEST(RecordReaderSources, ASourceFileIsReadBlockByBlock) {
  TempDir dir;
  const std::string path = dir.file("rows.csv");
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "row " + std::to_string(i) + ",\"x\r\ny\"\r\n";
  std::ofstream(path, std::ios::binary) << text;
  SourceFile file;
  ASSERT_TRUE(file.Open(path));
  SourceFileBytes source(file);
  const ReadResult result = ReadAll(source, '"', RecordReader::kDefaultMaxRecordBytes);
  ASSERT_EQ(result.records.size(), 20000u);
  EXPECT_EQ(result.records[19999], "row 19999,\"x\r\ny\"");
  EXPECT_EQ(result.last, Outcome::kEndOfInput);
}

TEST(RecordReaderSources, AStreamIsReadAsItsBytes) {
  std::istringstream stream(std::string("a\r\nb\rc\n", 7), std::ios::binary);
  StreamSource source(stream);
  EXPECT_EQ(ReadAll(source, '"', 100).records, (Records{"a", "b", "c"}));
}

}  // namespace
}  // namespace ks::text
