// ParallelIndexBuild: workers, each indexing pieces of the key range.
#include "engine/parallel_index.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>

#include "engine/fts_bulk_index.h"
#include "engine/fts_rowids.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

// Pieces of the key range handed out one at a time, so that a worker that
// meets longer documents takes fewer pieces.  Documents added at an end are
// evenly spaced, so equal key spans hold about equal counts.
constexpr int64_t kPieces = 64;

// The private index: the database's own settings, filled in bulk.
constexpr const char* kShardSetup =
    "PRAGMA page_size = 16384;"
    "PRAGMA cache_size = -2048;"
    "PRAGMA journal_mode = OFF;"
    "PRAGMA synchronous = OFF;"
    "CREATE VIRTUAL TABLE fts USING fts5(body, content='', columnsize=0);"
    "INSERT INTO fts(fts, rank) VALUES('automerge', 0);";

// Terms and doclists a worker gathers before it writes a segment, by FTS5's
// measure of its term buffer.  Fewer, larger segments make a smaller index
// (each repeats the terms it shares with the others); terms that occur once
// (names, numbers, addresses) cost far more in memory than in the index, so
// memory has a bound of its own.
constexpr size_t kWorkerTermBytes = size_t{16} << 20;
constexpr size_t kWorkerMemoryBytes = size_t{128} << 20;

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
      auto end_ids = shard.Prepared("SELECT " KS_FTS_ROWID_OF("id") ", body "
                                    "FROM source.documents WHERE seq > ?1 AND seq <= ?2 AND "
                                    KS_FTS_END_IDS("id"));
      auto placed = shard.Prepared("SELECT " KS_FTS_ROWID_OF("id") ", body "
                                   "FROM source.documents WHERE seq > ?1 AND seq <= ?2 AND "
                                   KS_FTS_PLACED_IDS("id"));
      FtsBulkIndex index(shard, kWorkerTermBytes, kWorkerMemoryBytes);
      for (int64_t taken = next_piece++; taken < pieces * passes && !failed; taken = next_piece++) {
        StatementLease& documents = taken < pieces ? end_ids : placed;
        const int64_t piece = taken % pieces;
        documents->BindInt(1, Boundary(after, span, piece, pieces));
        documents->BindInt(2, Boundary(after, span, piece + 1, pieces));
        while (documents->Step()) index.Add(documents->Int(0), documents->Bytes(1));
        documents->Reset();
      }
      index.Finish();
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
