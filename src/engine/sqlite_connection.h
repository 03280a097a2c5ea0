// Connection: owns one sqlite3 connection and its cache of prepared
// statements, and maps SQLite result codes onto the engine's error codes.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <unordered_map>

#include "engine/sqlite_statement.h"

namespace ks::engine {

// The errno of the file operation behind the result `rc` of `db`, 0 when
// there was none (or it is not known).  Read it before the next call on the
// connection.
int SystemErrno(sqlite3* db, int rc);
// Throws EngineError for the SQLite result `rc` (extended codes welcome);
// the message names `context` and SQLite's own text.  `system_errno` is
// SystemErrno() for the failure.
[[noreturn]] void ThrowSqliteCode(int rc, const std::string& message, int system_errno = 0);
// As ThrowSqliteCode, with the connection's current error message and errno.
[[noreturn]] void ThrowSqlite(sqlite3* db, int rc, const char* context);
// The KSENG_ERR_* code for an SQLite result code and the errno of the file
// operation behind it (0 when none).
uint32_t EngineCodeFor(int rc, int system_errno = 0);

// SQLite URI for a path, characters with a meaning in URIs escaped; opens
// the file for reading only or for reading and writing (never creating).
std::string FileUri(const std::string& path, bool read_only);

class Connection {
 public:
  // Opens `uri` (a "file:" URI) with `flags`; SQLITE_OPEN_URI is added.
  // Throws EngineError and leaves nothing open on failure.
  Connection(const std::string& uri, int flags);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs one or more SQL statements that return no rows of interest.
  void Exec(const char* sql);
  // A prepared statement for `sql`, compiled at first use and kept.  `sql`
  // must be a string literal (the cache is keyed by its address).
  StatementLease Prepared(const char* sql);

  // True while a transaction is open on this connection.
  bool InTransaction() const { return sqlite3_get_autocommit(db_) == 0; }
  int64_t LastInsertId() const { return sqlite3_last_insert_rowid(db_); }
  sqlite3* get() const { return db_; }

 private:
  sqlite3* db_ = nullptr;                                              // owned
  std::unordered_map<const char*, std::unique_ptr<Statement>> cache_;  // by SQL text address
};

// A read transaction for the length of a scope, so that several statements
// see one state of a file that another process may be writing.
class ReadSnapshot {
 public:
  explicit ReadSnapshot(Connection& connection);
  ~ReadSnapshot();
  ReadSnapshot(const ReadSnapshot&) = delete;
  ReadSnapshot& operator=(const ReadSnapshot&) = delete;

 private:
  Connection& connection_;
  bool began_ = false;  // false when a transaction was already open
};

}  // namespace ks::engine
