// RecordPipeline: reads the records of a delimited or fixed-width source and
// prepares them (splits, converts, composes) on a second thread, while the
// importing thread stores the prepared ones.  Reading and splitting cost
// about as much as storing, so on a machine with two cores the two overlap.
//
// Records arrive in the order of the file.  The reading thread runs at most
// a few batches ahead (a batch holds up to kBatchRecords records or
// kBatchBytes bytes), so memory stays bounded whatever the file's size.
// Nothing but the source and the prepare function is touched by the reading
// thread: the engine and the import session stay on the importing thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "importers/text/byte_source.h"
#include "importers/text/record_reader.h"

namespace ks::text {

// One record as the importing thread gets it.  The objects are reused, so
// their strings keep their room from one record to the next.
struct PreparedRecord {
  uint64_t position = 0;            // source bytes read once the record was taken
  std::string text;                 // the record, or what prepare made of it
  std::vector<std::string> values;  // split values, for imports that keep them
};

class RecordPipeline {
 public:
  static constexpr size_t kBatchRecords = 256;
  static constexpr size_t kBatchBytes = 1 << 20;
  static constexpr size_t kBatchesAhead = 4;

  // Turns a record (without its line end) into *out; runs on the reading
  // thread.  Null: the text is the record itself.
  using Prepare = std::function<void(const std::string& record, PreparedRecord* out)>;

  // Starts reading `source` at once; `qualifier` as for RecordReader::Read.
  RecordPipeline(ByteSource& source, char qualifier, Prepare prepare,
                 size_t max_record_bytes = RecordReader::kDefaultMaxRecordBytes);
  // Stops the reading thread (it may be well ahead) and waits for it.
  ~RecordPipeline();
  RecordPipeline(const RecordPipeline&) = delete;
  RecordPipeline& operator=(const RecordPipeline&) = delete;

  // The next prepared record, valid until the next call; null once the
  // records are over, and then End() says why.  An exception thrown while
  // reading or preparing is thrown here, after the records before it.
  PreparedRecord* Next();

  // Why the records ended: kEmptyRecord (a blank line), kEndOfInput,
  // kRecordTooLong or kReadFailed.
  RecordReader::Outcome End() const { return end_; }
  // Where the record that ended the reading starts, for the too-long report.
  uint64_t EndRecordOffset() const { return end_record_offset_; }

 private:
  struct Batch {
    std::vector<PreparedRecord> records;
    size_t count = 0;
    size_t bytes = 0;
  };

  void ReadAll(char qualifier, size_t max_record_bytes);
  // Reading thread: a batch to fill (false when told to stop), and handing
  // a filled one over.
  bool TakeFreeBatch(std::unique_ptr<Batch>* batch);
  void HandOver(std::unique_ptr<Batch> batch);
  void Finish(RecordReader::Outcome end, uint64_t offset, std::exception_ptr error);

  ByteSource& source_;
  Prepare prepare_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<Batch>> filled_;  // in file order
  std::vector<std::unique_ptr<Batch>> free_;
  size_t batches_out_ = 0;  // batches the reading thread holds or has filled
  bool stop_ = false;       // the importing thread wants no more
  bool finished_ = false;   // the reading thread has handed over its last batch
  std::exception_ptr error_;
  RecordReader::Outcome end_ = RecordReader::Outcome::kEndOfInput;
  uint64_t end_record_offset_ = 0;

  std::unique_ptr<Batch> current_;  // the importing thread's batch
  size_t next_ = 0;                 // its next record

  std::thread thread_;  // last: starts once everything above is in place
};

}  // namespace ks::text
