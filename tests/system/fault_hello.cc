// The add-on of examples/hello with a fault in its form: it links the example's source, and this
// file in place of the status bar, to which the form reports an order without a customer. The
// variable QX_TEST_FAULT names the fault.

#include "qxframework/qxframework.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

volatile int sink = 0;

// A null pointer would be noticed by the sanitizer, which ends the program in its own way.
[[gnu::noinline]] void writeToNowhere() {
  int* volatile nowhere = reinterpret_cast<int*>(0x40);
  *nowhere = 1;
}

// The event sink catches what a form throws, but nothing can leave a function like the second one.
// Some compilers unwind the stack up to that function before they call std::terminate.
[[gnu::noinline]] void throwError() { throw std::runtime_error("no more orders"); }
[[gnu::noinline]] void throwUncaught() noexcept { throwError(); }

// Nothing catches what a thread's function throws, and so nothing unwinds its stack.
[[gnu::noinline]] void throwInThread() { std::thread(throwError).join(); }

// Two functions in turn, so that no frame returns to itself.
void overflowAgain(int depth);
[[gnu::noinline]] void overflow(int depth) {
  volatile char space[512] = {};
  overflowAgain(depth + space[0] + 1);
  sink = sink + space[depth % 512];
}
[[gnu::noinline]] void overflowAgain(int depth) {
  volatile char space[512] = {};
  overflow(depth + space[0] + 1);
  sink = sink + space[depth % 512];
}

// Overwrites a block that the library uses and the sizes in front of other blocks, and then uses
// the heap until it notices.
[[gnu::noinline]] void corruptHeap() {
  std::memset(qx::logModuleName().m_str, 0x5A, sizeof u"HELLO" - sizeof(char16_t));
  char* volatile blocks[64];
  for (auto& block : blocks) block = static_cast<char*>(std::malloc(40));
  for (auto& block : blocks) std::memset(block - 16, 0x5A, 56);
  for (auto& block : blocks) std::free(block);
}

// Aborts inside the allocator, which holds its lock: it finds that the list of its free blocks is
// damaged. It takes the lock only once there was a second thread.
[[gnu::noinline]] void abortInsideMalloc() {
  std::thread([] {}).join();
  char* volatile block = static_cast<char*>(std::malloc(3000));
  for (int i = 0; i < 8; ++i) sink = sink + (std::malloc(3000) != nullptr);
  std::free(block);
  std::memset(block, 0x5A, sizeof(void*));  // a free block begins with a link of the list
  for (int i = 0; i < 64; ++i) sink = sink + (std::malloc(2000) != nullptr);
}

[[gnu::noinline]] void callNull() {
  void (*volatile nothing)() = nullptr;
  nothing();
  sink = sink + 1;
}

[[gnu::noinline]] void provoke(std::string_view fault) {
  if (fault == "segv") writeToNowhere();
  if (fault == "abort") std::abort();
  if (fault == "throw") throwUncaught();
  if (fault == "thread") throwInThread();
  if (fault == "overflow") overflow(0);
  if (fault == "heap") corruptHeap();
  if (fault == "malloc") abortInsideMalloc();
  if (fault == "null") callNull();
}

}  // namespace

long CQXUtil::SetStatusBarErrorMessage(CComPtr<IApplication>, CComBSTR) {
  CReturnValue<long> result(u"CQXUtil::SetStatusBarErrorMessage", 0, 0, true);
  const char* fault = std::getenv("QX_TEST_FAULT");
  const char* level = std::getenv("QX_TEST_LAST_WORDS");
  const std::string_view words = level == nullptr ? "6" : level;
  if (words == "1") result.LogError(u"the last words");
  if (words == "2") result.LogWarning(u"the last words");
  if (words == "3") result.LogInfo(u"the last words");
  if (words == "4") result.LogDbg0(u"the last words");
  if (words == "5") result.LogDbg1(u"the last words");
  if (words == "6") result.LogDbg2(u"the last words");
  provoke(fault == nullptr ? "" : fault);
  return result;
}
