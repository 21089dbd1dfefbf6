#include "qxdesk/engines/kept_locks.h"

#include "qxdesk/engines/side_thread.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;

// Longer than a turn to a server usually takes. After it the asking connection waits in the
// server's queue as for any other one.
constexpr milliseconds kMostToAsk{100};

alignas(KeptLocks) std::array<std::byte, sizeof(KeptLocks)> storage;

KeptLocks& current() { return *std::launder(reinterpret_cast<KeptLocks*>(storage.data())); }

}  // namespace

// Between prepare() and the other two no keeper is called, so that no call of the driver and no
// lock is copied in the middle of it.
struct ForkOfKeptLocks {
  static void prepare() {
    current().looking_.lock();
    current().mutex_.lock();
  }
  static void inParent() {
    current().mutex_.unlock();
    current().looking_.unlock();
  }
  // The thread is not copied, and the parent's connections are not the child's to use. What is in
  // the old object stays unreleased: its thread and those who wait for it exist in the parent only.
  static void inChild() { new (storage.data()) KeptLocks; }
};

// Never destroyed, since connections of statics may end late. The thread ends by exit, before the
// drivers end, which have been loaded before the first connection came here.
KeptLocks& KeptLocks::ofProcess() {
  static const bool made = [] {
    new (storage.data()) KeptLocks;
    pthread_atfork(ForkOfKeptLocks::prepare, ForkOfKeptLocks::inParent, ForkOfKeptLocks::inChild);
    std::atexit([] { current().stop(); });
    return true;
  }();
  static_cast<void>(made);
  return current();
}

KeptLocks::~KeptLocks() { stop(); }

void KeptLocks::join(Keeper& keeper) {
  const std::lock_guard lock(looking_);
  keepers_.push_back(&keeper);
}

void KeptLocks::leave(Keeper& keeper) {
  const std::lock_guard lock(looking_);
  std::erase(keepers_, &keeper);
  keepers_.shrink_to_fit();  // an unloaded library leaves no memory behind
}

bool KeptLocks::isReady() {
  const std::lock_guard lock(mutex_);
  if (ending_) return false;
  if (!std::exchange(started_, true)) thread_ = startSideThread([this] { loop(); });
  return thread_.joinable();
}

void KeptLocks::watch(TimePoint due) {
  bool isSooner = false;
  {
    const std::lock_guard lock(mutex_);
    lastWatch_ = std::chrono::steady_clock::now();
    isSooner = !next_ || due < *next_;
    if (isSooner) next_ = due;
  }
  if (isSooner) wake_.notify_one();
}

bool KeptLocks::wouldWaitForItself(const Keeper& asking, std::string_view database,
                                   std::int64_t key) {
  const std::unique_lock lock(looking_, kMostToAsk);
  if (!lock) return false;
  bool itself = false;
  for (Keeper* const keeper : keepers_) {
    if (keeper != &asking && keeper->yield(database, key)) itself = true;
  }
  return itself;
}

void KeptLocks::stop() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void KeptLocks::loop() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (!next_) {
      wake_.wait(lock);
    } else if (const TimePoint next = *next_;
               wake_.wait_until(lock, next) == std::cv_status::timeout) {
      next_.reset();
      lock.unlock();
      std::optional<TimePoint> due = look();
      lock.lock();
      const TimePoint now = std::chrono::steady_clock::now();
      if (!due && now - lastWatch_ < pace_.linger) due = now + pace_.pause;
      // A lock that was kept meanwhile has set next_.
      if (due) next_ = next_ ? std::min(*next_, *due) : *due;
    }
  }
}

std::optional<KeptLocks::TimePoint> KeptLocks::look() {
  const std::lock_guard lock(looking_);
  const TimePoint now = std::chrono::steady_clock::now();
  std::optional<TimePoint> next;
  for (Keeper* const keeper : keepers_) {
    const std::optional<TimePoint> due = keeper->giveUpDue(now);
    if (due) next = next ? std::min(*next, *due) : *due;
  }
  return next;
}

}  // namespace qx::desk
