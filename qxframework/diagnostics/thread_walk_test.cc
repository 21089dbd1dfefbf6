// Walks of other threads.

#include "qxframework/diagnostics/internal/thread_suspension.h"
#include "qxframework/diagnostics/walker_fixture.h"

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <latch>
#include <thread>

namespace {

using qx::diagnostics::ThreadSuspension;
using qx::test::RecordingWalker;
using testing::IsEmpty;

// A thread that counts until it is to end.
class Counter {
 public:
  Counter() : thread_([this] { count(); }) { ready_.wait(); }
  ~Counter() { end(); }

  void end() {
    stop = true;
    if (thread_.joinable()) thread_.join();
  }
  pid_t id() const { return id_; }
  std::uint64_t value() const { return value_; }

 private:
  [[gnu::noinline]] void count() {
    id_ = gettid();
    ready_.count_down();
    while (!stop) value_ = value_ + 1;
  }

  std::atomic<bool> stop{false};
  std::atomic<std::uint64_t> value_{0};
  std::atomic<pid_t> id_{0};
  std::latch ready_{1};
  std::thread thread_;
};

TEST(ThreadWalk, FindsTheFunctionsOfTheOtherThread) {
  Counter counter;
  RecordingWalker walker;
  EXPECT_TRUE(walker.ShowCallstack(qx::threadHandle(counter.id())));
  EXPECT_EQ(walker.find("(anonymous namespace)::Counter::count").symType, "PDB");
  EXPECT_EQ(walker.find("main").offset, 0U);
}

TEST(ThreadWalk, StopsTheThreadMeanwhileAndLetsItGoOn) {
  struct Walker : RecordingWalker {
    const Counter* counter = nullptr;
    std::vector<std::uint64_t> seen;
    void OnCallstackEntry(CallstackEntryType, CallstackEntry&) override {
      seen.push_back(counter->value());
    }
  } walker;
  Counter counter;
  walker.counter = &counter;
  EXPECT_TRUE(walker.ShowCallstack(qx::threadHandle(counter.id())));
  ASSERT_GT(walker.seen.size(), 2U);
  EXPECT_THAT(walker.seen, testing::Each(walker.seen.front()));
  while (counter.value() == walker.seen.front()) std::this_thread::yield();
}

TEST(ThreadWalk, OfAnEndedThreadFails) {
  Counter counter;
  const pid_t id = counter.id();
  counter.end();
  // The kernel may know a joined thread for an instant longer.
  while (syscall(SYS_tgkill, getpid(), id, 0) == 0) std::this_thread::yield();
  RecordingWalker walker;
  EXPECT_FALSE(walker.ShowCallstack(qx::threadHandle(id)));
  EXPECT_THAT(walker.entries, IsEmpty());
}

TEST(ThreadWalk, OfAThreadOfAnotherProcessFails) {
  RecordingWalker walker(63, nullptr, 0, qx::processHandle(getppid()));
  EXPECT_FALSE(walker.ShowCallstack(qx::threadHandle(getppid())));
  RecordingWalker own;
  EXPECT_FALSE(own.ShowCallstack(qx::threadHandle(getppid())));
  EXPECT_FALSE(own.ShowCallstack(nullptr));
}

TEST(ThreadWalk, SurvivesThreadsThatEndMeanwhile) {
  RecordingWalker walker;
  for (int i = 0; i < 30; ++i) {
    Counter counter;
    const HANDLE thread = qx::threadHandle(counter.id());
    std::thread ending([&] { counter.end(); });
    walker.entries.clear();
    const bool walked = walker.ShowCallstack(thread);
    EXPECT_EQ(walked, !walker.entries.empty());
    ending.join();
  }
}

// It would wait for ever if there were no limit.
TEST(ThreadWalk, OfAThreadThatBlocksTheSignalFailsAfterAWhile) {
  std::latch ready(1);
  std::latch walked(1);
  std::atomic<pid_t> id{0};
  std::thread blocking([&] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    id = gettid();
    ready.count_down();
    walked.wait();
    // Now the late signal arrives; it must find that no one waits for it.
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
  });
  ready.wait();
  RecordingWalker walker;
  EXPECT_FALSE(walker.ShowCallstack(qx::threadHandle(id)));
  walked.count_down();
  blocking.join();
}

TEST(ThreadWalk, WalksOfSeveralThreadsTakeTurns) {
  Counter counter;
  std::vector<std::thread> threads;
  std::atomic<int> complete{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      RecordingWalker walker;
      for (int round = 0; round < 5; ++round) {
        const bool walked = i % 2 == 0 ? walker.ShowCallstack()
                                       : walker.ShowCallstack(qx::threadHandle(counter.id()));
        if (walked && walker.entries.back().type == 2) ++complete;
      }
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(complete, 20);
}

// Two threads that walk each other: one is stopped while it waits for its turn.
TEST(ThreadWalk, ThreadsCanWalkEachOther) {
  std::latch ready(2);
  std::atomic<pid_t> ids[2];
  std::atomic<int> walks{0};
  std::latch done(2);
  const auto walk = [&](int self) {
    ids[self] = gettid();
    ready.arrive_and_wait();
    RecordingWalker walker;
    if (walker.ShowCallstack(qx::threadHandle(ids[1 - self]))) ++walks;
    done.arrive_and_wait();
  };
  std::thread other(walk, 0);
  walk(1);
  other.join();
  EXPECT_EQ(walks, 2);
}

TEST(ThreadSuspension, RefusesTheCallingThread) {
  ThreadSuspension suspension;
  CONTEXT context{};
  EXPECT_FALSE(suspension.suspend(gettid(), context));
  EXPECT_FALSE(suspension.suspend(0, context));
}

TEST(ThreadSuspension, HoldsAndResumesTheThread) {
  Counter counter;
  ThreadSuspension suspension;
  CONTEXT context{};
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(suspension.suspend(counter.id(), context));
    const std::uint64_t held = counter.value();
    std::this_thread::yield();
    EXPECT_EQ(counter.value(), held);
    suspension.resume();
    while (counter.value() == held) std::this_thread::yield();
  }
}

TEST(ThreadSuspension, LetsTheThreadGoOnBeforeItHoldsAnother) {
  Counter first;
  Counter second;
  ThreadSuspension suspension;
  CONTEXT context{};
  ASSERT_TRUE(suspension.suspend(first.id(), context));
  ASSERT_TRUE(suspension.suspend(second.id(), context));
  const std::uint64_t held = second.value();
  const std::uint64_t before = first.value();
  while (first.value() == before) std::this_thread::yield();
  EXPECT_EQ(second.value(), held);
}

TEST(ThreadSuspension, ResumesItsOwnThreadOnly) {
  Counter first;
  Counter second;
  ThreadSuspension former;
  ThreadSuspension suspension;
  CONTEXT context{};
  ASSERT_TRUE(former.suspend(first.id(), context));
  former.resume();
  ASSERT_TRUE(suspension.suspend(second.id(), context));
  const std::uint64_t held = second.value();
  former.resume();
  const std::uint64_t before = first.value();
  while (first.value() < before + 1000) std::this_thread::yield();
  EXPECT_EQ(second.value(), held);
}

// A program that uses the same signal for itself. Such a handler counts what it gets.
std::atomic<int> g_foreign{0};

int sendForeignSignals() {
  const int number = SIGRTMAX - 3;
  const auto self = [](int, siginfo_t* info, void*) { g_foreign += info->si_value.sival_int; };
  struct sigaction action {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = self;
  sigaction(number, &action, nullptr);
  {
    Counter counter;
    ThreadSuspension suspension;
    CONTEXT context{};
    if (!suspension.suspend(counter.id(), context)) return 1;
  }
  sigqueue(getpid(), number, {.sival_int = 5});
  if (g_foreign != 5) return 2;
  std::raise(number);
  return g_foreign == 5 ? 0 : 3;
}

// In a program of its own, since the handler is installed once.
TEST(ThreadSuspensionDeathTest, LeavesTheSignalsOfTheProgramToItsOwnHandler) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(_exit(sendForeignSignals()), testing::ExitedWithCode(0), "");
}

int raisePlainSignal(sighandler_t handler) {
  const int number = SIGRTMAX - 3;
  signal(number, handler);
  {
    Counter counter;
    ThreadSuspension suspension;
    CONTEXT context{};
    if (!suspension.suspend(counter.id(), context)) return 1;
  }
  std::raise(number);
  return g_foreign;
}

TEST(ThreadSuspensionDeathTest, LeavesTheSignalsOfTheProgramToItsPlainHandler) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(_exit(raisePlainSignal([](int) { g_foreign = 7; })), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(_exit(raisePlainSignal(SIG_IGN)), testing::ExitedWithCode(0), "");
}

// A thread with a lock that the walk needs must not stop the walk for ever.
TEST(ThreadSuspension, ThreadGoesOnByItselfAfterItsLongestHold) {
  Counter counter;
  ThreadSuspension suspension;
  CONTEXT context{};
  ASSERT_TRUE(suspension.suspend(counter.id(), context));
  const std::uint64_t held = counter.value();
  while (counter.value() == held) std::this_thread::yield();
}

}  // namespace
