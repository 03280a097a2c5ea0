// Statement: owns one prepared SQLite statement, binds its parameters, steps
// it and turns SQLite failures into EngineError.  StatementLease hands out a
// cached statement and resets it when the caller's scope ends, so a cached
// statement never holds a read lock or a dangling binding between uses.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string_view>

namespace ks::engine {

class Statement {
 public:
  // Prepares `sql` on `db`; throws EngineError when it does not compile.
  Statement(sqlite3* db, std::string_view sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Parameters are numbered from 1.  Text and blobs are bound without a copy:
  // the bytes must stay alive until the statement is reset.
  Statement& BindInt(int index, int64_t value);
  Statement& BindText(int index, std::string_view value);
  Statement& BindBlob(int index, std::string_view bytes);
  Statement& BindZeroBlob(int index, uint64_t size);
  Statement& BindNull(int index);

  // Steps once: true when a row is ready, false when the statement is done.
  bool Step();
  // Steps to the end, ignoring rows (for INSERT, UPDATE, DELETE).
  void Run();
  // Resets the statement and clears its bindings.
  void Reset();

  // Columns of the current row, numbered from 0.  Views stay valid until the
  // next Step or Reset.
  int64_t Int(int column) const;
  bool IsNull(int column) const;
  std::string_view Bytes(int column) const;

  sqlite3_stmt* get() const { return stmt_; }

 private:
  sqlite3* db_;         // connection, for error messages
  sqlite3_stmt* stmt_;  // owned
};

// A cached statement borrowed for one scope; resets it on the way out.
class StatementLease {
 public:
  explicit StatementLease(Statement& statement) : statement_(&statement) {}
  ~StatementLease() { statement_->Reset(); }
  StatementLease(const StatementLease&) = delete;
  StatementLease& operator=(const StatementLease&) = delete;

  Statement* operator->() const { return statement_; }
  Statement& operator*() const { return *statement_; }

 private:
  Statement* statement_;
};

}  // namespace ks::engine
