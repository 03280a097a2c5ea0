// What the benchmark programs share: timing, where their files go, where the
// shared bench data lives, and the plain SQLite insert every figure of ours
// is measured against.
#pragma once

#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

[[noreturn]] inline void Fail(const std::string& what) {
  fmt::print(stderr, "bench: {}\n", what);
  std::exit(1);
}

// The folder for a benchmark's databases: the given one (made when it is not
// there yet), else TMPDIR, else /tmp.
inline std::string WorkFolder(const char* given) {
  if (given != nullptr && *given != '\0') {
    std::error_code ignored;  // a folder that cannot be made fails at its first file
    std::filesystem::create_directories(given, ignored);
    return given;
  }
  const char* tmp = std::getenv("TMPDIR");
  return tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
}

// A file made by the shared bench-data generators: $BENCH_DATA/name, where
// BENCH_DATA defaults to ${TMPDIR:-/tmp}/bench-data.
inline std::string BenchDataFile(const std::string& name) {
  const char* data = std::getenv("BENCH_DATA");
  const std::string folder =
      data != nullptr && *data != '\0' ? std::string(data) : WorkFolder(nullptr) + "/bench-data";
  return folder + "/" + name;
}

// Inserts `count` blobs, piece(i) for i in [0, count), into a one-column
// table of a new database in one transaction, with the engine's pragmas;
// returns the seconds from BEGIN to the end of COMMIT.
template <typename Piece>
double TimePlainBlobInsert(const std::string& path, size_t count, Piece piece) {
  unlink(path.c_str());
  sqlite3* db = nullptr;
  sqlite3_open(path.c_str(), &db);
  sqlite3_exec(db,
               "PRAGMA journal_mode = DELETE; PRAGMA synchronous = FULL; "
               "PRAGMA cache_size = -32768; CREATE TABLE t(b BLOB);",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO t(b) VALUES(?1)", -1, &insert, nullptr);
  const auto start = Clock::now();
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  for (size_t i = 0; i < count; ++i) {
    const std::string_view bytes = piece(i);
    sqlite3_bind_blob(insert, 1, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    if (sqlite3_step(insert) != SQLITE_DONE) Fail(sqlite3_errmsg(db));
    sqlite3_reset(insert);
  }
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  const double seconds = Seconds(start);
  sqlite3_finalize(insert);
  sqlite3_close(db);
  unlink(path.c_str());
  return seconds;
}

// SQLite's own FTS5 index over piece(i) for i in [0, count), rowids 1, 2,
// ..., built in one transaction of a new database: as it comes, or with the
// engine's larger in-memory term buffer (`hashsize` bytes; 0 keeps the
// default).  Returns the seconds from BEGIN to the end of COMMIT.
template <typename Piece>
double TimePlainFts(const std::string& path, size_t count, Piece piece, int hashsize) {
  unlink(path.c_str());
  sqlite3* db = nullptr;
  sqlite3_open(path.c_str(), &db);
  sqlite3_exec(db,
               "PRAGMA journal_mode = DELETE; PRAGMA synchronous = FULL; "
               "CREATE VIRTUAL TABLE f USING fts5(body, content='', columnsize=0);",
               nullptr, nullptr, nullptr);
  if (hashsize != 0) {
    const std::string tune =
        "INSERT INTO f(f, rank) VALUES('hashsize', " + std::to_string(hashsize) + ");";
    sqlite3_exec(db, tune.c_str(), nullptr, nullptr, nullptr);
  }
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO f(rowid, body) VALUES(?1, ?2)", -1, &insert, nullptr);
  const auto start = Clock::now();
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  for (size_t i = 0; i < count; ++i) {
    const std::string_view text = piece(i);
    sqlite3_bind_int64(insert, 1, static_cast<int64_t>(i) + 1);
    sqlite3_bind_text(insert, 2, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    if (sqlite3_step(insert) != SQLITE_DONE) Fail(sqlite3_errmsg(db));
    sqlite3_reset(insert);
  }
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  const double seconds = Seconds(start);
  sqlite3_finalize(insert);
  sqlite3_close(db);
  unlink(path.c_str());
  return seconds;
}

}  // namespace bench
