#include "importers/text/record_pipeline.h"

#include <utility>

namespace ks::text {

RecordPipeline::RecordPipeline(ByteSource& source, char qualifier, Prepare prepare,
                               size_t max_record_bytes)
    : source_(source),
      prepare_(std::move(prepare)),
      thread_([this, qualifier, max_record_bytes] { ReadAll(qualifier, max_record_bytes); }) {}

RecordPipeline::~RecordPipeline() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

PreparedRecord* RecordPipeline::Next() {
  while (true) {
    if (current_ && next_ < current_->count) return &current_->records[next_++];
    std::unique_lock lock(mutex_);
    if (current_) free_.push_back(std::move(current_));
    changed_.wait(lock, [this] { return !filled_.empty() || finished_; });
    if (filled_.empty()) {
      if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
      return nullptr;
    }
    current_ = std::move(filled_.front());
    filled_.pop_front();
    --batches_out_;
    next_ = 0;
    lock.unlock();
    changed_.notify_all();  // the reading thread may go on with a batch
  }
}

bool RecordPipeline::TakeFreeBatch(std::unique_ptr<Batch>* batch) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return stop_ || batches_out_ < kBatchesAhead; });
  if (stop_) return false;
  ++batches_out_;
  if (free_.empty()) {
    *batch = std::make_unique<Batch>();
  } else {
    *batch = std::move(free_.back());
    free_.pop_back();
  }
  (*batch)->count = 0;
  (*batch)->bytes = 0;
  return true;
}

void RecordPipeline::HandOver(std::unique_ptr<Batch> batch) {
  {
    std::lock_guard lock(mutex_);
    filled_.push_back(std::move(batch));
  }
  changed_.notify_all();
}

void RecordPipeline::Finish(RecordReader::Outcome end, uint64_t offset, std::exception_ptr error) {
  {
    std::lock_guard lock(mutex_);
    end_ = end;
    end_record_offset_ = offset;
    error_ = std::move(error);
    finished_ = true;
  }
  changed_.notify_all();
}

void RecordPipeline::ReadAll(char qualifier, size_t max_record_bytes) {
  RecordReader::Outcome end = RecordReader::Outcome::kEndOfInput;
  uint64_t offset = 0;
  std::exception_ptr error;
  std::unique_ptr<Batch> batch;
  try {
    RecordReader reader(source_, max_record_bytes);
    std::string record;
    bool ended = false;
    while (!ended && TakeFreeBatch(&batch)) {
      while (batch->count < kBatchRecords && batch->bytes < kBatchBytes) {
        const RecordReader::Outcome outcome = reader.Read(qualifier, &record);
        if (outcome != RecordReader::Outcome::kRecord) {
          end = outcome;
          offset = source_.FileOffsetOf(reader.RecordOffset());
          ended = true;
          break;
        }
        if (batch->count == batch->records.size()) batch->records.emplace_back();
        PreparedRecord& out = batch->records[batch->count];
        out.position = source_.FileOffsetOf(reader.BytesConsumed());
        if (prepare_) {
          prepare_(record, &out);
        } else {
          out.text.assign(record);
        }
        batch->bytes += record.size();
        ++batch->count;
      }
      HandOver(std::move(batch));
    }
  } catch (...) {
    // The records prepared before the failure still go to the importer.
    error = std::current_exception();
    try {
      if (batch && batch->count != 0) HandOver(std::move(batch));
    } catch (...) {  // no memory even for that: the error alone is reported
    }
  }
  Finish(end, offset, std::move(error));
}

}  // namespace ks::text
