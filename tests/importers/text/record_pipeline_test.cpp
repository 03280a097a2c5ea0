// The record pipeline: records and their positions arrive exactly as the
// reader alone gives them, across many batches; the end, a failure and an
// exception reach the importing thread after the records before them; and
// an importer that stops early never waits for the rest of the file.  That
// each record's prepared values arrive with it, and the blank line or the
// overlong record that ends the file with where it starts, show in the
// delimited import's tests.
#include "importers/text/record_pipeline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ks::text {
namespace {

using Outcome = RecordReader::Outcome;

struct Taken {
  std::vector<std::string> texts;
  std::vector<uint64_t> positions;
};

Taken Sequential(std::string_view text, char qualifier) {
  StringSource source(text);
  RecordReader reader(source);
  Taken taken;
  std::string record;
  while (reader.Read(qualifier, &record) == Outcome::kRecord) {
    taken.texts.push_back(record);
    taken.positions.push_back(reader.BytesConsumed());
  }
  return taken;
}

Taken Piped(RecordPipeline& pipeline) {
  Taken taken;
  while (const PreparedRecord* record = pipeline.Next()) {
    taken.texts.push_back(record->text);
    taken.positions.push_back(record->position);
  }
  return taken;
}

// Enough rows, of varied length and with quoted line breaks, to fill
// several batches by count and one by size.
std::string ManyRows() {
  std::string text;
  for (int i = 0; i < 3000; ++i) {
    text += std::to_string(i) + ",\"a\r\nb\"," + std::string(static_cast<size_t>(i % 97), 'x');
    text += i % 3 == 0 ? "\n" : "\r\n";
  }
  text += "big," + std::string(RecordPipeline::kBatchBytes + 10, 'y') + "\r\n";
  text += "last\r\n";
  return text;
}

// As if every byte handed out had taken two bytes of the file.
struct DecodingSource : StringSource {
  using StringSource::StringSource;
  uint64_t FileOffsetOf(uint64_t position) const override { return 2 * position; }
};

TEST(RecordPipeline, GivesTheReadersRecordsAndPositionsInOrder) {
  const std::string text = ManyRows();
  const Taken expected = Sequential(text, '"');
  ASSERT_EQ(expected.texts.size(), 3002u);
  StringSource whole(text, size_t{1} << 20);
  StringSource pieces(text, 4093);
  DecodingSource decoding(text);  // positions are in the file's own bytes
  const std::pair<ByteSource*, uint64_t> sources[] = {{&whole, 1}, {&pieces, 1}, {&decoding, 2}};
  for (const auto& [source, bytes_per_byte] : sources) {
    RecordPipeline pipeline(*source, '"', nullptr);
    const Taken taken = Piped(pipeline);
    EXPECT_EQ(taken.texts, expected.texts);
    ASSERT_EQ(taken.positions.size(), expected.positions.size());
    for (size_t i = 0; i < taken.positions.size(); ++i) {
      ASSERT_EQ(taken.positions[i], bytes_per_byte * expected.positions[i]) << "record " << i;
    }
    EXPECT_EQ(pipeline.End(), Outcome::kEndOfInput);
    EXPECT_EQ(pipeline.Next(), nullptr) << "the end stays the end";
  }
}

class FailingSource : public ByteSource {
 public:
  ssize_t Read(char* buffer, size_t size) override {
    if (done_) return -1;
    done_ = true;
    const std::string_view text = "a\r\nb\r\n";
    text.copy(buffer, std::min(size, text.size()));
    return static_cast<ssize_t>(text.size());
  }

 private:
  bool done_ = false;
};

TEST(RecordPipeline, AReadFailureOrAThrowComesAfterTheRecordsBeforeIt) {
  {
    FailingSource source;
    RecordPipeline pipeline(source, '"', nullptr);
    EXPECT_EQ(Piped(pipeline).texts, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(pipeline.End(), Outcome::kReadFailed);
  }
  {
    StringSource source("a\r\nb\r\nboom\r\nc\r\n");
    RecordPipeline pipeline(source, '"', [](const std::string& record, PreparedRecord* out) {
      if (record == "boom") throw std::runtime_error("cannot prepare");
      out->text = record;
    });
    ASSERT_NE(pipeline.Next(), nullptr);
    ASSERT_NE(pipeline.Next(), nullptr);
    EXPECT_THROW(pipeline.Next(), std::runtime_error);
    EXPECT_EQ(pipeline.Next(), nullptr) << "the error is thrown once";
  }
}

// A source that never ends: only stopping the reader can end it.
class EndlessSource : public ByteSource {
 public:
  ssize_t Read(char* buffer, size_t size) override {
    reads.fetch_add(1);
    for (size_t i = 0; i < size; ++i) buffer[i] = i % 8 == 7 ? '\n' : 'r';
    return static_cast<ssize_t>(size);
  }
  std::atomic<int> reads{0};
};

TEST(RecordPipeline, StoppingEarlyEndsTheReadingThreadWithoutReadingOn) {
  EndlessSource source;
  {
    RecordPipeline pipeline(source, '"', nullptr);
    for (int i = 0; i < 10; ++i) ASSERT_NE(pipeline.Next(), nullptr);
    // Leaving the scope stops and joins the thread; it must not read on.
  }
  const int reads = source.reads.load();
  // A few batches ahead at most: 4 + 1 batches of 256 eight-byte records.
  EXPECT_LE(reads, 4);
}

}  // namespace
}  // namespace ks::text
