// SessionGuard: the one way into the import session's shared data (handle
// records and queue).  It takes the session's visible lock with its "go on
// when already held" behaviour (SessionLock) and, under it, the ordinary
// mutex that keeps a second thread out while the data is touched.  Order:
// the session lock before the data mutex; neither is held while calling out
// (engine, importer, file system).
#pragma once

#include <mutex>

#include "api/session_lock.h"

struct SessionLocks {
  SessionLock session;
  std::mutex data;
};

class SessionGuard {
 public:
  explicit SessionGuard(SessionLocks& locks) : session_(locks.session), data_(locks.data) {}

 private:
  SessionLockGuard session_;
  std::lock_guard<std::mutex> data_;
};
