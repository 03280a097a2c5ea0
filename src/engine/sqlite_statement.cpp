// Statement: binding, stepping and column access for one prepared statement.
#include "engine/sqlite_statement.h"

#include <limits>
#include <string>

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {

Statement::Statement(sqlite3* db, std::string_view sql) : db_(db), stmt_(nullptr) {
  int rc = sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, &stmt_, nullptr);
  if (rc != SQLITE_OK) ThrowSqlite(db, rc, "prepare");
}

Statement::~Statement() {
  sqlite3_finalize(stmt_);
}

namespace {
void CheckBind(sqlite3* db, int rc) {
  if (rc != SQLITE_OK) ThrowSqlite(db, rc, "bind");
}
int SizeArgument(size_t size) {
  // SQLite takes sizes as int; its own length limit is far below this.
  if (size > static_cast<size_t>(std::numeric_limits<int>::max())) {
    throw EngineError(KSENG_ERR_ARGUMENT, "value too large");
  }
  return static_cast<int>(size);
}
}  // namespace

Statement& Statement::BindInt(int index, int64_t value) {
  CheckBind(db_, sqlite3_bind_int64(stmt_, index, value));
  return *this;
}

Statement& Statement::BindText(int index, std::string_view value) {
  CheckBind(db_, sqlite3_bind_text(stmt_, index, value.data(), SizeArgument(value.size()),
                                   SQLITE_STATIC));
  return *this;
}

Statement& Statement::BindBlob(int index, std::string_view bytes) {
  // A zero-length blob with a null pointer would bind NULL; point at "" instead.
  const char* data = bytes.data() != nullptr ? bytes.data() : "";
  CheckBind(db_, sqlite3_bind_blob(stmt_, index, data, SizeArgument(bytes.size()), SQLITE_STATIC));
  return *this;
}

Statement& Statement::BindZeroBlob(int index, uint64_t size) {
  CheckBind(db_, sqlite3_bind_zeroblob64(stmt_, index, size));
  return *this;
}

Statement& Statement::BindNull(int index) {
  CheckBind(db_, sqlite3_bind_null(stmt_, index));
  return *this;
}

bool Statement::Step() {
  int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  // Reset now so the statement gives up its locks before the error travels;
  // take the message first, the reset may replace it.
  std::string message = sqlite3_errmsg(db_);
  int extended = sqlite3_extended_errcode(db_);
  if (extended == SQLITE_OK) extended = rc;
  int system_errno = SystemErrno(db_, extended);
  sqlite3_reset(stmt_);
  ThrowSqliteCode(extended, "step: " + message, system_errno);
}

void Statement::Run() {
  while (Step()) {
  }
}

void Statement::Reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

int64_t Statement::Int(int column) const {
  return sqlite3_column_int64(stmt_, column);
}

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

std::string_view Statement::Bytes(int column) const {
  const void* data = sqlite3_column_blob(stmt_, column);
  int size = sqlite3_column_bytes(stmt_, column);
  if (data == nullptr || size <= 0) return {};
  return {static_cast<const char*>(data), static_cast<size_t>(size)};
}

}  // namespace ks::engine
