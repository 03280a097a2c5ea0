// Fuzzes RecordReader, which cuts delimited and fixed-width sources into
// records, and RecordPipeline, which runs it on a thread of its own.
//
// Input: a mode byte (qualifier, record limit, read failure, piece seed),
// a byte for a failing prepare, then the source text.
//
// Checks: the records and outcomes are the same whether the source hands
// over everything at once or a few bytes at a time; each record is the input
// at its offset, holds no NUL and no line end outside quoted text, and stays
// within the limit; the read position only grows, and reaches the end of the
// input there; a reader that stopped on a long record or a failed read keeps
// saying so; the pipeline (for a quarter of the inputs) hands out the
// reader's records in order with their positions, ends as the reader did,
// and rethrows a failing prepare after the records before it.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/text/byte_source.h"
#include "importers/text/record_pipeline.h"
#include "importers/text/record_reader.h"

namespace {

using ks::fuzz::FuzzInput;
using ks::text::RecordPipeline;
using ks::text::RecordReader;
using Outcome = RecordReader::Outcome;

// Hands out the text in pieces of varying size (or whole), and fails once
// `fail_at` bytes were handed out, if set.
class PieceSource : public ks::text::ByteSource {
 public:
  PieceSource(std::string_view text, bool whole, uint32_t seed, size_t fail_at)
      : text_(text), whole_(whole), pieces_(seed), fail_at_(fail_at) {}

  ssize_t Read(char* buffer, size_t size) override {
    if (at_ == fail_at_) return -1;
    size_t count = std::min(size, text_.size() - at_);
    if (!whole_) count = std::min(count, pieces_.Next());
    if (fail_at_ != std::string_view::npos) count = std::min(count, fail_at_ - at_);
    text_.copy(buffer, count, at_);
    at_ += count;
    return static_cast<ssize_t>(count);
  }

 private:
  std::string_view text_;
  size_t at_ = 0;
  bool whole_;
  ks::fuzz::PieceSizes pieces_;
  size_t fail_at_;
};

struct Step {
  Outcome outcome;
  std::string record;
  uint64_t offset;
  uint64_t consumed;
  bool operator==(const Step&) const = default;
};

// Every answer of the reader up to the end of the input or a stop, blank
// lines included (the importers stop at the first; the reader can go on).
std::vector<Step> ReadAll(ks::text::ByteSource& source, char qualifier, size_t limit,
                          size_t input_size) {
  RecordReader reader(source, limit);
  std::vector<Step> steps;
  uint64_t consumed = 0;
  while (true) {
    Step step;
    step.outcome = reader.Read(qualifier, &step.record);
    // Only a record read whole is worth anything; a failed read may leave
    // part of one behind.
    if (step.outcome == Outcome::kReadFailed) step.record.clear();
    step.offset = reader.RecordOffset();
    step.consumed = reader.BytesConsumed();
    FUZZ_CHECK(step.consumed >= consumed && step.consumed <= input_size);
    consumed = step.consumed;
    // How far a record that outgrew the limit was read before that was seen
    // depends on the blocks the source handed over.
    if (step.outcome == Outcome::kRecordTooLong) step.consumed = 0;
    steps.push_back(step);
    if (step.outcome == Outcome::kRecord || step.outcome == Outcome::kEmptyRecord) {
      FUZZ_CHECK(steps.size() <= input_size + 1);
      continue;
    }
    if (step.outcome == Outcome::kRecordTooLong || step.outcome == Outcome::kReadFailed) {
      std::string again;
      FUZZ_CHECK(reader.Read(qualifier, &again) == step.outcome);
    }
    return steps;
  }
}

void CheckRecords(const std::vector<Step>& steps, std::string_view text, char qualifier,
                  size_t limit) {
  for (const Step& step : steps) {
    switch (step.outcome) {
      case Outcome::kRecord:
        FUZZ_CHECK(!step.record.empty());
        break;
      case Outcome::kEndOfInput:
        FUZZ_CHECK(step.consumed == text.size());
        [[fallthrough]];
      default:
        FUZZ_CHECK(step.record.empty());
        break;
    }
    FUZZ_CHECK(step.record.size() <= limit);
    FUZZ_CHECK(step.outcome == Outcome::kRecordTooLong ||
               step.offset + step.record.size() <= step.consumed);
    FUZZ_CHECK(text.substr(step.offset, step.record.size()) == step.record);
    bool inside = false;
    for (const char c : step.record) {
      FUZZ_CHECK(c != '\0');
      if (qualifier != '\0' && c == qualifier) inside = !inside;
      FUZZ_CHECK(inside || (c != '\r' && c != '\n'));
    }
  }
}

// The pipeline over the same text: the reader's records up to the first
// other answer, or up to the record whose prepare throws.
void CheckPipeline(const std::vector<Step>& steps, std::string_view text, char qualifier,
                   size_t limit, uint32_t seed, size_t fail_at, size_t throw_at) {
  PieceSource source(text, false, seed, fail_at);
  size_t prepared = 0;
  RecordPipeline::Prepare prepare;
  if (throw_at != 0) {
    prepare = [&prepared, throw_at](const std::string& record, ks::text::PreparedRecord* out) {
      if (++prepared == throw_at) throw std::runtime_error("prepare failed");
      out->text = record;
    };
  }
  RecordPipeline pipeline(source, qualifier, prepare, limit);
  size_t taken = 0;
  bool thrown = false;
  while (true) {
    const ks::text::PreparedRecord* record = nullptr;
    try {
      record = pipeline.Next();
    } catch (const std::runtime_error&) {
      thrown = true;
      break;
    }
    if (record == nullptr) break;
    FUZZ_CHECK(taken < steps.size() && steps[taken].outcome == Outcome::kRecord);
    FUZZ_CHECK(record->text == steps[taken].record);
    FUZZ_CHECK(record->position == steps[taken].consumed);
    ++taken;
  }
  size_t records = 0;
  while (records < steps.size() && steps[records].outcome == Outcome::kRecord) ++records;
  if (throw_at != 0 && throw_at <= records) {
    FUZZ_CHECK(thrown);
    FUZZ_CHECK(taken == throw_at - 1);
    return;
  }
  FUZZ_CHECK(!thrown);
  FUZZ_CHECK(taken == records);
  FUZZ_CHECK(pipeline.End() == steps[records].outcome);
  if (pipeline.End() == Outcome::kRecordTooLong) {
    FUZZ_CHECK(pipeline.EndRecordOffset() == steps[records].offset);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const uint8_t mode = in.Byte();
  static constexpr char kQualifiers[] = {'\0', '"', '\'', '|'};
  const char qualifier = kQualifiers[mode & 3];
  // A small limit now and then, so that records outgrow it.
  const size_t limit = (mode & 4) != 0 ? 1 + in.Below(64) : RecordReader::kDefaultMaxRecordBytes;
  const bool fails = (mode & 8) != 0;
  const uint32_t seed = mode >> 4;
  const size_t throw_at = in.Byte() % 8;  // 0: prepare never throws
  const size_t fail_at_choice = fails ? in.Below(4096) : 0;
  const std::string_view text = in.Rest();
  const size_t fail_at = fails ? std::min(fail_at_choice, text.size()) : std::string_view::npos;

  PieceSource whole(text, true, seed, fail_at);
  const std::vector<Step> steps = ReadAll(whole, qualifier, limit, text.size());
  CheckRecords(steps, text, qualifier, limit);

  PieceSource pieces(text, false, seed, fail_at);
  FUZZ_CHECK(ReadAll(pieces, qualifier, limit, text.size()) == steps);

  // The pipeline starts a thread for every input, which cost more than the
  // reading it checks: it runs for a quarter of the inputs, chosen by the
  // mode byte, so that the fuzzer mutates its way into it as into any case.
  if ((seed & 3) == 0) CheckPipeline(steps, text, qualifier, limit, seed + 1, fail_at, throw_at);
  return 0;
}
