// Connection: opening, closing, statement cache and the SQLite-to-engine
// error mapping used by every store.
#include "engine/sqlite_connection.h"

#include <fmt/format.h>

#include <mutex>

#include "engine/engine_error.h"

namespace ks::engine {

uint32_t EngineCodeFor(int rc, int system_errno) {
  switch (rc & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return KSENG_ERR_BUSY;
    case SQLITE_NOMEM:
      return KSENG_ERR_MEMORY;
    case SQLITE_READONLY:
      // A reader meeting the journal of an interrupted write cannot roll it
      // back: nothing can be read until a connection that may write does.
      return rc == SQLITE_READONLY_ROLLBACK ? KSENG_ERR_INTERRUPTED : KSENG_ERR_READONLY;
    case SQLITE_FULL:
      return KSENG_ERR_FULL;
    case SQLITE_IOERR:
      // SQLite says "full" only when a write came up short; a write refused
      // outright (the file size limit: EFBIG, or ENOSPC on some file
      // systems) is an I/O error whose errno tells the cause.
      return IsFullErrno(system_errno) ? KSENG_ERR_FULL : KSENG_ERR_IO;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return KSENG_ERR_NOT_DATABASE;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return KSENG_ERR_ACCESS;
    case SQLITE_TOOBIG:
    case SQLITE_RANGE:
    case SQLITE_MISMATCH:
      return KSENG_ERR_ARGUMENT;
    default:
      return KSENG_ERR_INTERNAL;
  }
}

int SystemErrno(sqlite3* db, int rc) {
  if (db == nullptr || (rc & 0xff) != SQLITE_IOERR) return 0;
  int error = sqlite3_system_errno(db);
  // sqlite3_system_errno() is not always set (a failed COMMIT runs the
  // rollback in between; a write to the temporary file of a document being
  // staged leaves it 0).  Each file keeps the errno of its last failed
  // write: the database's own, then the temporary one.
  if (error == 0 && (rc == SQLITE_IOERR_WRITE || rc == SQLITE_IOERR_TRUNCATE)) {
    sqlite3_file_control(db, "main", SQLITE_FCNTL_LAST_ERRNO, &error);
    if (error == 0) sqlite3_file_control(db, "temp", SQLITE_FCNTL_LAST_ERRNO, &error);
  }
  return error;
}

void ThrowSqliteCode(int rc, const std::string& message, int system_errno) {
  std::string what = system_errno != 0
                         ? fmt::format("sqlite error {} (errno {}): {}", rc, system_errno, message)
                         : fmt::format("sqlite error {}: {}", rc, message);
  throw EngineError(EngineCodeFor(rc, system_errno), what, rc);
}

void ThrowSqlite(sqlite3* db, int rc, const char* context) {
  int extended = db != nullptr ? sqlite3_extended_errcode(db) : rc;
  if ((extended & 0xff) != (rc & 0xff)) extended = rc;
  ThrowSqliteCode(
      extended,
      fmt::format("{}: {}", context, db != nullptr ? sqlite3_errmsg(db) : "no connection"),
      SystemErrno(db, extended));
}

std::string FileUri(const std::string& path, bool read_only) {
  std::string uri = "file:";
  for (unsigned char c : path) {
    if (c == '%' || c == '?' || c == '#' || c < 0x20 || c >= 0x7f) {
      uri += fmt::format("%{:02X}", c);
    } else {
      uri += static_cast<char>(c);
    }
  }
  uri += read_only ? "?mode=ro" : "?mode=rw";
  return uri;
}

namespace {

// SQLite counts every allocation under one process-wide mutex unless told
// not to, and the threads of a parallel index build allocate for every term
// of every document: the count would serialise them.  The engine never asks
// for it.  sqlite3_config works only before SQLite is initialised; when a
// host did that first, the count stays on and nothing else changes.
void ConfigureSqliteOnce() {
  static std::once_flag once;
  std::call_once(once, [] { sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0); });
}

}  // namespace

Connection::Connection(const std::string& uri, int flags) {
  ConfigureSqliteOnce();
  // A database handle is used by one thread at a time (the engine's rule for
  // its callers), so SQLite need not lock the connection on every call: with
  // its own mutex it takes one for each bind and step, several per document.
  int rc =
      sqlite3_open_v2(uri.c_str(), &db_, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    std::string message = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close_v2(db_);
    db_ = nullptr;
    ThrowSqliteCode(rc, "open: " + message);
  }
  sqlite3_extended_result_codes(db_, 1);
}

Connection::~Connection() {
  cache_.clear();  // statements must be finalized before the connection closes
  sqlite3_close_v2(db_);
}

void Connection::Exec(const char* sql) {
  char* error = nullptr;
  int rc = sqlite3_exec(db_, sql, nullptr, nullptr, &error);
  if (rc != SQLITE_OK) {
    std::string message = error != nullptr ? error : sqlite3_errmsg(db_);
    sqlite3_free(error);
    int extended = sqlite3_extended_errcode(db_) != SQLITE_OK ? sqlite3_extended_errcode(db_) : rc;
    ThrowSqliteCode(extended, message, SystemErrno(db_, extended));
  }
}

StatementLease Connection::Prepared(const char* sql) {
  auto found = cache_.find(sql);
  if (found == cache_.end()) {
    found = cache_.emplace(sql, std::make_unique<Statement>(db_, sql)).first;
  }
  return StatementLease(*found->second);
}

ReadSnapshot::ReadSnapshot(Connection& connection) : connection_(connection) {
  if (connection_.InTransaction()) return;
  connection_.Exec("BEGIN");
  began_ = true;
}

ReadSnapshot::~ReadSnapshot() {
  // The main database was only read; COMMIT keeps what was written to
  // temporary tables meanwhile (a reader's scratch index).
  if (began_ && connection_.InTransaction() &&
      sqlite3_exec(connection_.get(), "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
    sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

}  // namespace ks::engine
