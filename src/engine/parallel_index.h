// ParallelIndexBuild: the full-text index of a run of committed documents,
// built on several threads at once.  Indexing is most of the time of a bulk
// import and FTS5 indexes on one thread, so each worker reads its share of
// the documents through a read-only connection of its own and indexes them
// in bulk (fts_bulk_index.h) into a private temporary database; the writer
// then grafts those indexes' segments into the database's own
// (fts_segments.h).  The workers are joined before Build returns.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ks::engine {

class Connection;

class ParallelIndexBuild {
 public:
  // `read_uri` opens the database for reading (a "file:" URI).
  ParallelIndexBuild(std::string read_uri, unsigned threads)
      : read_uri_(std::move(read_uri)), threads_(threads) {}

  // Indexes the documents whose order key lies in (after, through]; only
  // those added at an end unless `placed_ids` says that others may be among
  // them (fts_rowids.h).  Returns one connection per worker, each holding an
  // index `fts` of its share with no merge under way.  Throws the first
  // worker's failure (an EngineError) after all have stopped.
  std::vector<std::unique_ptr<Connection>> Build(int64_t after, int64_t through, bool placed_ids);

 private:
  std::string read_uri_;
  unsigned threads_;
};

}  // namespace ks::engine
