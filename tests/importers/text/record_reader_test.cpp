// The record reader: line ends of every kind, line ends inside quoted text,
// the blank line that ends a file, NULs, block boundaries, the record-size
// limit and a failing source.  Source files read block by block are what
// every delimited import reads.
#include "importers/text/record_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ks::text {
namespace {

using Records = std::vector<std::string>;
using Outcome = RecordReader::Outcome;
constexpr Outcome kEnd = Outcome::kEndOfInput;
constexpr Outcome kBlank = Outcome::kEmptyRecord;
constexpr Outcome kTooLong = Outcome::kRecordTooLong;

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

// What each text reads as, whole and in pieces.
struct ReadCase {
  const char* name;
  std::string text;
  Records records;
  Outcome last = kEnd;
  char qualifier = '"';
  size_t limit = RecordReader::kDefaultMaxRecordBytes;
};

void ExpectReads(const std::vector<ReadCase>& cases) {
  for (const ReadCase& c : cases) {
    const ReadResult result = ReadText(c.text, c.qualifier, c.limit);
    EXPECT_EQ(result.records, c.records) << c.name;
    EXPECT_EQ(result.last, c.last) << c.name;
  }
}

TEST(RecordReader, LineEndsOfEveryKind) {
  const Records three{"a,b", "c,d", "e"};
  ExpectReads({
      {"CR LF", "a,b\r\nc,d\r\ne\r\n", three},
      {"LF", "a,b\nc,d\ne\n", three},
      {"CR", "a,b\rc,d\re\r", three},
      {"LF only keeps each line's first character", "abc\ndef\nghi", {"abc", "def", "ghi"}},
      {"CR only keeps each line's first character", "abc\rdef\rghi", {"abc", "def", "ghi"}},
      {"LF CR is one line end too", "ab\n\rcd\n\r", {"ab", "cd"}},
      {"the last line without a line end is a record", "one\r\ntwo", {"one", "two"}},
      {"empty input ends at once", "", {}},
  });
}

TEST(RecordReader, LineEndsInsideQuotedText) {
  ExpectReads({
      {"CR LF inside quotes is kept", "1,\"x\r\ny\",2\r\n3\r\n", {"1,\"x\r\ny\",2", "3"}},
      {"LF inside quotes is kept", "1,\"x\ny\",2\n3\n", {"1,\"x\ny\",2", "3"}},
      {"CR inside quotes is kept", "1,\"x\ry\",2\r3\r", {"1,\"x\ry\",2", "3"}},
      {"a blank line inside quotes", "\"a\r\n\r\nb\"\r\nc\r\n", {"\"a\r\n\r\nb\"", "c"}},
      // Every qualifier toggles, so a doubled one keeps the text quoted.
      {"doubled qualifier",
       "\"say \"\"hi\r\nthere\"\"\"\r\nnext",
       {"\"say \"\"hi\r\nthere\"\"\"", "next"}},
      {"the qualifier may stand anywhere in the record", "ab\"c\nd\"e\nf", {"ab\"c\nd\"e", "f"}},
      {"apostrophe qualifier", "'a\nb',\"c\nd\"\n", {"'a\nb',\"c", "d\""}, kEnd, '\''},
      {"no qualifier: every line is a record", "\"a\nb\"\n", {"\"a", "b\""}, kEnd, '\0'},
      {"an unclosed quote runs to the end of the input", "a\n\"b\nc\n\nd", {"a", "\"b\nc\n\nd"}},
  });
}

TEST(RecordReader, ABlankLineEndsTheFile) {
  ExpectReads({
      {"CR LF", "a\r\n\r\nb\r\n", {"a"}, kBlank},
      {"LF", "a\n\nb\n", {"a"}, kBlank},
      {"CR", "a\r\rb\r", {"a"}, kBlank},
      {"LF CR", "a\n\r\n\rb\n\r", {"a"}, kBlank},
      {"a blank first line, before any record", "\r\na,b\r\n", {}, kBlank},
      {"a line of blanks is not empty", "a\n \nb\n", {"a", " ", "b"}},
  });
}

TEST(RecordReader, ANulEndsTheRecordAndIsDropped) {
  ExpectReads({
      {"NUL mid-line", std::string("ab\0cd\n", 6), {"ab", "cd"}},
      {"then a line end is a blank line", std::string("1,2,\0\n3,4\n", 10), {"1,2,"}, kBlank},
      // The next record starts outside quoted text, so its quote opens some.
      {"even inside quotes", std::string("\"a\0b\"\nc", 7), {"\"a", "b\"\nc"}},
  });
}

// ---- Positions ----

TEST(RecordReaderPositions, OffsetsCountTheLineEndsTaken) {
  StringSource source("ab\r\ncd\neof");
  RecordReader reader(source);
  std::string record;
  for (const auto& [start, end] : {std::pair{0u, 4u}, {4u, 7u}, {7u, 10u}}) {
    ASSERT_EQ(reader.Read('"', &record), Outcome::kRecord);
    EXPECT_EQ(reader.RecordOffset(), start) << record;
    EXPECT_EQ(reader.BytesConsumed(), end) << record;
  }
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
  ExpectReads({
      {"over the limit",
       "short\n" + std::string(30, 'x') + "\nmore\n",
       {"short"},
       kTooLong,
       '"',
       10},
      {"exactly the limit", "0123456789\nok", {"0123456789", "ok"}, kEnd, '"', 10},
  });
  StringSource source("0123456789A\nok\n");
  RecordReader reader(source, 10);
  std::string record;
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
  EXPECT_TRUE(record.empty());
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
}

TEST(RecordReaderLimit, AnUnclosedQuoteReadsNoMoreThanTheLimitAndABlock) {
  EndlessQuoteSource source;
  RecordReader reader(source, 1 << 20);
  std::string record;
  EXPECT_EQ(reader.Read('"', &record), Outcome::kRecordTooLong);
  EXPECT_LE(source.served(), (1u << 20) + RecordReader::kBlockSize);
}

// A fifty-megabyte quoted field read whole is the delimited import's test.

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

}  // namespace
}  // namespace ks::text
