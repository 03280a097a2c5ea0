// SessionLock: the import session's lock, a mutex paired with one "held"
// flag shared by all threads.  A thread that finds the flag set goes on
// without taking the mutex; that is how an operation can be called by a
// caller that already holds the lock, and how the host's polling thread
// never waits long behind the importing thread.  Hosts depend on that
// never-wait behaviour, so it stays.
//
// Left alone, that scheme would let two threads touch the session's data at
// once.  So the flag is atomic, every take is a SessionLockGuard that unlocks
// only a mutex it locked itself, and the session keeps its data behind a
// second, ordinary mutex of its own (see CImportSession).
#pragma once

#include <atomic>
#include <mutex>

class SessionLock {
 public:
  bool IsHeld() const { return held_.load(std::memory_order_acquire); }

 private:
  friend class SessionLockGuard;

  // Takes the mutex only when the flag is clear; true when it did.
  bool TakeIfClear() {
    if (held_.load(std::memory_order_acquire)) return false;
    mutex_.lock();
    held_.store(true, std::memory_order_release);
    return true;
  }
  void Release() {
    held_.store(false, std::memory_order_release);
    mutex_.unlock();
  }

  std::mutex mutex_;
  std::atomic<bool> held_{false};
};

// Takes the session lock for one scope when it is free, and releases it at
// the end of the scope only if it took it.
class SessionLockGuard {
 public:
  explicit SessionLockGuard(SessionLock& lock) : lock_(lock), took_(lock.TakeIfClear()) {}
  ~SessionLockGuard() {
    if (took_) lock_.Release();
  }
  SessionLockGuard(const SessionLockGuard&) = delete;
  SessionLockGuard& operator=(const SessionLockGuard&) = delete;

  bool TookLock() const { return took_; }

 private:
  SessionLock& lock_;
  bool took_;
};
