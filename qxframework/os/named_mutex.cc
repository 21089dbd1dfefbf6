#include "qxframework/os/named_mutex.h"

#include "qxframework/os/clock.h"
#include "qxframework/os/shared_file.h"

#include <signal.h>
#include <sys/file.h>

#include <future>
#include <mutex>
#include <system_error>

namespace qx {
namespace {

constexpr std::chrono::seconds kFirstNotice{2};
constexpr std::chrono::seconds kNextNotices{60};

// Keeps signals from the threads that are started while it lives: they belong to the program's own
// threads, and one that interrupts flock() costs the place in the queue.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

// Locks the file on a thread of its own. The lock belongs to the open file, so this thread has it
// then, too. Trying again and again would need no thread, but has no place in the kernel's queue.
std::future<void> lockAside(int fd) {
  const SignalsBlocked blocked;
  return std::async(std::launch::async, [fd] { lockFile(fd, LOCK_EX); });
}

void report(const MutexNotice& notice, int fd, std::chrono::seconds waited) {
  try {
    notice(readLockHolder(fd), waited);
  } catch (...) {
    // The wait must go on: the other thread has a place in the queue.
  }
}

void lockWithNotices(int fd, const MutexNotice& notice) {
  if (lockFile(fd, LOCK_EX | LOCK_NB)) return;
  std::future<void> locked;
  try {
    locked = lockAside(fd);
  } catch (const std::system_error&) {
    lockFile(fd, LOCK_EX);  // without a thread there are no notices
    return;
  }
  std::chrono::seconds waited{0};
  for (std::chrono::seconds next = kFirstNotice; !currentClock().waitFor(locked, next);
       next = kNextNotices) {
    waited += next;
    report(notice, fd, waited);
  }
  locked.get();
}

}  // namespace

struct NamedMutex::State {
  UniqueFd file;
  // Excludes threads that use the same object: flock() belongs to the open file, not to a thread.
  std::recursive_mutex threads;
  int depth = 0;  // guarded by `threads`; the file is locked while it is above 0
};

NamedMutex::NamedMutex(std::u16string_view name) : NamedMutex(name, runtimeFolder()) {}

NamedMutex::NamedMutex(std::u16string_view name, const std::filesystem::path& folder)
    : state_(std::make_unique<State>()) {
  state_->file = openSharedFile(folder, name, ".mutex");
}

NamedMutex::~NamedMutex() = default;

void NamedMutex::lock() {
  lockBy([](int fd) { lockFile(fd, LOCK_EX); });
}

void NamedMutex::lock(const MutexNotice& notice) {
  lockBy([&](int fd) { lockWithNotices(fd, notice); });
}

void NamedMutex::lockBy(const std::function<void(int fd)>& take) {
  // Until release() the guard undoes this lock if the one on the file throws.
  std::unique_lock threads(state_->threads);
  if (state_->depth == 0) {
    take(state_->file.get());
    writeLockHolder(state_->file.get());
  }
  ++state_->depth;
  threads.release();
}

bool NamedMutex::try_lock() {
  std::unique_lock threads(state_->threads, std::try_to_lock);
  if (!threads) return false;
  if (state_->depth == 0) {
    if (!lockFile(state_->file.get(), LOCK_EX | LOCK_NB)) return false;
    writeLockHolder(state_->file.get());
  }
  ++state_->depth;
  threads.release();
  return true;
}

void NamedMutex::unlock() {
  if (--state_->depth == 0) {
    clearLockHolder(state_->file.get());
    lockFile(state_->file.get(), LOCK_UN);
  }
  state_->threads.unlock();
}

}  // namespace qx
