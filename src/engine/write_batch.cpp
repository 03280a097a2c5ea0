// WriteBatch and Savepoint: transaction bookkeeping over one Connection.
#include "engine/write_batch.h"

#include <string>

#include "engine/sqlite_connection.h"

namespace ks::engine {

WriteBatch::WriteBatch(Connection& connection, BatchLimits limits)
    : connection_(connection), limits_(limits) {}

bool WriteBatch::Begin() {
  if (open_ && connection_.InTransaction()) return false;
  // IMMEDIATE takes the write lock now, so a second writer is told at its
  // first write rather than at commit time with work to throw away.
  connection_.Exec("BEGIN IMMEDIATE");
  open_ = true;
  documents_ = 0;
  bytes_ = 0;
  return true;
}

void WriteBatch::Count(uint64_t bytes) {
  ++documents_;
  bytes_ += bytes;
}

bool WriteBatch::Full() const {
  return open_ && (documents_ >= limits_.documents || bytes_ >= limits_.bytes);
}

void WriteBatch::Commit() {
  if (!open_) return;
  open_ = false;
  documents_ = 0;
  bytes_ = 0;
  if (!connection_.InTransaction()) return;
  int rc = sqlite3_exec(connection_.get(), "COMMIT", nullptr, nullptr, nullptr);
  if (rc == SQLITE_OK) return;
  std::string message = sqlite3_errmsg(connection_.get());
  int extended = sqlite3_extended_errcode(connection_.get());
  if (extended == SQLITE_OK) extended = rc;
  int system_errno = SystemErrno(connection_.get(), extended);
  // A failed COMMIT can leave the transaction open (SQLITE_BUSY); end it so
  // the connection stays usable and the outcome is plainly "not committed".
  if (connection_.InTransaction()) {
    sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  ThrowSqliteCode(extended, "commit: " + message, system_errno);
}

void WriteBatch::Abandon() noexcept {
  if (connection_.InTransaction()) {
    sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  open_ = false;
  documents_ = 0;
  bytes_ = 0;
}

Savepoint::Savepoint(Connection& connection) : connection_(connection) {
  connection_.Exec("SAVEPOINT one_document");
}

Savepoint::~Savepoint() {
  if (!active_) return;
  // Undo this document's statements; the batch around it stays open.
  sqlite3_exec(connection_.get(), "ROLLBACK TO one_document; RELEASE one_document", nullptr,
               nullptr, nullptr);
}

void Savepoint::Release() {
  connection_.Exec("RELEASE one_document");
  active_ = false;
}

}  // namespace ks::engine
