#include "qxframework/diagnostics/exception_context.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

HANDLE handleOf(std::intptr_t value) { return reinterpret_cast<HANDLE>(value); }

// Derived classes of add-ons may compare them.
TEST(Handles, OfTheCallerAreNoOtherThreadsOrProcesses) {
  EXPECT_EQ(GetCurrentProcess(), handleOf(-1));
  EXPECT_EQ(GetCurrentThread(), handleOf(-2));
}

TEST(Handles, AreTheIds) {
  EXPECT_EQ(qx::threadHandle(77), handleOf(77));
  EXPECT_EQ(qx::processHandle(88), handleOf(88));
}

TEST(LastError, BelongsToItsThreadAndIsZeroAtItsStart) {
  SetLastError(5);
  std::thread([] {
    EXPECT_EQ(GetLastError(), 0U);
    SetLastError(6);
    EXPECT_EQ(GetLastError(), 6U);
  }).join();
  EXPECT_EQ(GetLastError(), 5U);
  SetLastError(0);
  EXPECT_EQ(GetLastError(), 0U);
}

TEST(Context, HasAllRegisters) {
  ucontext_t registers;
  ASSERT_EQ(getcontext(&registers), 0);
  const CONTEXT context = qx::contextOf(registers);
  EXPECT_EQ(context.ContextFlags, 0x10000BU);
  EXPECT_EQ(std::memcmp(&context.Machine, &registers.uc_mcontext, sizeof context.Machine), 0);
}

}  // namespace
