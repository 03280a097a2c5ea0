// The guard at the C boundary turns anything thrown into the failure value.
#include "api/export_guard.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace {

TEST(ExportGuard, PassesTheResultThroughAndAnythingThrownBecomesZeroOrIsSwallowed) {
  EXPECT_EQ(GuardExport([] { return 7u; }), 7u);
  EXPECT_EQ(GuardExport([]() -> uint32_t { throw std::bad_alloc(); }), 0u);
  EXPECT_EQ(GuardExport([]() -> uint32_t { throw std::runtime_error("x"); }), 0u);
  EXPECT_EQ(GuardExport([]() -> uint32_t { throw 42; }), 0u);
  bool ran = false;
  GuardExport([&] {  // no result: the exception just ends the call
    ran = true;
    throw std::logic_error("x");
  });
  EXPECT_TRUE(ran);
}

}  // namespace
