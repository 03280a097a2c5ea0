// ParallelIndexBuild: workers, each indexing pieces of the key range.
#include "engine/parallel_index.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>

#include "engine/fts_rowids.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

// Pieces of the key range handed out one at a time, so that a worker that
// meets longer documents takes fewer pieces.  Documents added at an end are
// evenly spaced, so equal key spans hold about equal counts.
constexpr int64_t kPieces = 64;

// The private index: the database's own settings, but half its term buffer
// per worker (the memory of the whole build stays near that of one index),
// and no merging while it fills: a merge left under way could not be moved.
// FTS5 still merges a level that grows too long, all at once.
constexpr const char* kShardSetup =
    "PRAGMA page_size = 16384;"
    "PRAGMA cache_size = -2048;"
    "PRAGMA journal_mode = OFF;"
    "PRAGMA synchronous = OFF;"
    "CREATE VIRTUAL TABLE fts USING fts5(body, content='', columnsize=0);"
    "INSERT INTO fts(fts, rank) VALUES('hashsize', 8388608);"
    "INSERT INTO fts(fts, rank) VALUES('automerge', 0);";

// The key that ends piece `piece` of `pieces` (after the first, ...).  Keys
// reach 2^62, so the product needs more than 64 bits.
int64_t Boundary(int64_t after, int64_t span, int64_t piece, int64_t pieces) {
  return after + static_cast<int64_t>(static_cast<__int128>(span) * piece / pieces);
}

}  // namespace

std::vector<std::unique_ptr<Connection>> ParallelIndexBuild::Build(int64_t after, int64_t through,
                                                                   bool placed_ids) {
  std::vector<std::unique_ptr<Connection>> shards;
  if (through <= after) return shards;
  const int64_t span = through - after;
  const int64_t pieces = std::min<int64_t>(kPieces, span);
  // Each worker takes pieces in rising order: all of the first pass before
  // any of the second, so that its rowids rise within each pass.
  const int64_t passes = placed_ids ? 2 : 1;
  std::atomic<int64_t> next_piece{0};
  std::atomic<bool> failed{false};
  std::vector<std::exception_ptr> errors(threads_);
  for (unsigned i = 0; i < threads_; ++i) {
    // An empty name opens a private database in a temporary file, deleted
    // when it is closed.
    shards.push_back(std::make_unique<Connection>("", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));
  }
  auto work = [&](unsigned worker) {
    try {
      Connection& shard = *shards[worker];
      shard.Exec(kShardSetup);
      auto attach = shard.Prepared("ATTACH ?1 AS source");
      attach->BindText(1, read_uri_);
      attach->Run();
      // One read transaction over both: every piece sees the same commit.
      shard.Exec("BEGIN");
      auto end_ids = shard.Prepared(
          "INSERT INTO main.fts(rowid, body) SELECT " KS_FTS_ROWID_OF("id") ", CAST(body AS TEXT) "
          "FROM source.documents WHERE seq > ?1 AND seq <= ?2 AND " KS_FTS_END_IDS("id"));
      auto placed = shard.Prepared(
          "INSERT INTO main.fts(rowid, body) SELECT " KS_FTS_ROWID_OF("id") ", CAST(body AS TEXT) "
          "FROM source.documents WHERE seq > ?1 AND seq <= ?2 AND " KS_FTS_PLACED_IDS("id"));
      for (int64_t taken = next_piece++; taken < pieces * passes && !failed; taken = next_piece++) {
        StatementLease& index = taken < pieces ? end_ids : placed;
        const int64_t piece = taken % pieces;
        index->BindInt(1, Boundary(after, span, piece, pieces));
        index->BindInt(2, Boundary(after, span, piece + 1, pieces));
        index->Run();
        index->Reset();
      }
      shard.Exec("COMMIT");
      shard.Exec("DETACH source");
    } catch (...) {
      errors[worker] = std::current_exception();
      failed = true;
    }
  };
  std::vector<std::thread> workers;
  try {
    for (unsigned i = 1; i < threads_; ++i) workers.emplace_back(work, i);
  } catch (...) {
    // No thread to be had: the ones started stop at their next piece.
    failed = true;
    for (std::thread& worker : workers) worker.join();
    throw;
  }
  work(0);
  for (std::thread& worker : workers) worker.join();
  for (const std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
  return shards;
}

}  // namespace ks::engine
