// FtsBulkIndex: fills the FTS5 index `fts` of a connection's main database
// from documents given in rising rowid order, without FTS5's write path: the
// tokens are gathered in an FtsTermBuffer and written out as segments of
// FTS5's own format (fts_segment_writer.h), which FTS5 then searches,
// merges and checks as it does its own.  It does per token what FTS5 does,
// without FTS5's per-document statement and per-token call chain, which is
// most of the time of building an index in bulk.  The index must be empty
// and nothing else may write to it meanwhile.
#pragma once

#include <cstdint>
#include <string_view>

#include "engine/fts_segment_writer.h"
#include "engine/fts_segments.h"
#include "engine/fts_term_buffer.h"
#include "engine/fts_tokenizer.h"

namespace ks::engine {

class Connection;

class FtsBulkIndex : private FtsSegmentSink {
 public:
  // Gathers terms and doclists up to about `buffer_bytes` before writing a
  // segment (FTS5's measure of its term buffer), and no more than
  // `memory_bytes` in memory.
  FtsBulkIndex(Connection& connection, size_t buffer_bytes, size_t memory_bytes);

  // Indexes `text` as the document of `rowid`.  A rowid not above the last
  // one starts a new segment, as FTS5 does.
  void Add(int64_t rowid, std::string_view text);
  // Writes what is gathered, the list of segments and the totals, inside
  // the caller's transaction.
  void Finish();

 private:
  void WriteSegment();
  void Page(int64_t rowid, std::string_view block) override;
  void TermIndex(int64_t segment, std::string_view term, int64_t page_and_flag) override;

  Connection& connection_;
  const size_t buffer_bytes_;
  const size_t memory_bytes_;
  const int page_size_;
  FtsTokenizer tokenizer_;
  FtsTermBuffer terms_;
  FtsStructure structure_;
  int64_t next_segment_ = 1;
  bool any_document_ = false;
  int64_t last_rowid_ = 0;
  int64_t documents_ = 0;
  int64_t tokens_ = 0;
};

}  // namespace ks::engine
