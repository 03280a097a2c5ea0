// WriteBatch: the write transaction that additions share.  It is begun at the
// first write and committed when it has taken enough documents or bytes, so a
// bulk import pays for one commit (and its fsyncs) per batch, not per
// document.  Savepoint makes one document's several statements all-or-nothing
// inside the batch.
#pragma once

#include <cstdint>

namespace ks::engine {

class Connection;

struct BatchLimits {
  uint32_t documents = 50000;           // commit after this many documents...
  uint64_t bytes = uint64_t{64} << 20;  // ...or this many bytes of text
};

class WriteBatch {
 public:
  WriteBatch(Connection& connection, BatchLimits limits);

  // Begins the batch's transaction unless it is open.  Returns true when a
  // new transaction started (what was read before it may be stale: another
  // process may have written in between).  Throws KSENG_ERR_BUSY when another
  // process holds the write lock past the busy timeout.
  bool Begin();
  // Counts one stored document of `bytes` bytes.
  void Count(uint64_t bytes);
  // True when the batch has reached a limit and should be committed.
  bool Full() const;
  // Commits the open transaction, if any.  On failure SQLite has rolled the
  // batch back; the batch is closed either way.
  void Commit();
  // Forgets the transaction after SQLite rolled it back on its own (I/O
  // error, disk full), or rolls it back now when it is still open.
  void Abandon() noexcept;

  bool open() const { return open_; }

 private:
  Connection& connection_;
  BatchLimits limits_;
  bool open_ = false;       // our BEGIN is in force
  uint32_t documents_ = 0;  // stored in the open batch
  uint64_t bytes_ = 0;      // text bytes stored in the open batch
};

// SAVEPOINT for the length of a scope: rolled back unless Release() is called.
class Savepoint {
 public:
  explicit Savepoint(Connection& connection);
  ~Savepoint();
  Savepoint(const Savepoint&) = delete;
  Savepoint& operator=(const Savepoint&) = delete;

  void Release();

 private:
  Connection& connection_;
  bool active_ = true;
};

}  // namespace ks::engine
