// The session lock: taken only when its flag is clear, released only by the
// guard that took it, and never waited for by a thread that finds it held.
#include "api/session_lock.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(SessionLock, GuardTakesAFreeLockAndReleasesItAtScopeEnd) {
  SessionLock lock;
  {
    SessionLockGuard guard(lock);
    EXPECT_TRUE(guard.TookLock());
    EXPECT_TRUE(lock.IsHeld());
  }
  EXPECT_FALSE(lock.IsHeld());
}

TEST(SessionLock, NestedGuardGoesOnWithoutTakingAndLeavesTheLockHeld) {
  SessionLock lock;
  SessionLockGuard outer(lock);
  {
    SessionLockGuard inner(lock);
    EXPECT_FALSE(inner.TookLock());
  }
  EXPECT_TRUE(lock.IsHeld()) << "the inner guard must not release what it did not take";
}

TEST(SessionLock, AnotherThreadFindingTheLockHeldGoesOnWithoutWaiting) {
  SessionLock lock;
  SessionLockGuard holder(lock);
  bool took = true;
  std::thread other([&] {
    SessionLockGuard guard(lock);
    took = guard.TookLock();
  });
  other.join();  // would hang if the other thread waited
  EXPECT_FALSE(took);
  EXPECT_TRUE(lock.IsHeld());
}

}  // namespace
