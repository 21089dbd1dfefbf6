#include "qxlogger/idle_flusher.h"

#include <csignal>
#include <utility>

namespace qx::logger {

IdleFlusher::IdleFlusher(std::function<void()> pause, std::function<void()> flush)
    : pause_(std::move(pause)), flush_(std::move(flush)) {
  sem_init(&wake_, 0, 0);
}

IdleFlusher::~IdleFlusher() {
  stop();
  sem_destroy(&wake_);
}

void IdleFlusher::stop() {
  if (state_ != State::kRunning) return;
  stopped_ = true;
  sem_post(&wake_);
  pthread_join(thread_, nullptr);
  stopped_ = false;
  state_ = State::kNone;
}

// The first test saves the write for most records of a flood. Its result is never too old: a flush
// that missed the caller's record took the lock of the log after run() had cleared the flag and
// before the caller did, so that the caller sees the flag cleared.
void IdleFlusher::request() {
  if (requested_.load(std::memory_order_acquire)) return;
  if (!requested_.exchange(true)) sem_post(&wake_);
}

// The semaphore is initialised again, because the fork may have copied it with posts in it.
void IdleFlusher::forgetThread() {
  sem_init(&wake_, 0, 0);
  requested_ = false;
  state_ = State::kNone;
}

// A new thread inherits the signal mask, so all signals are blocked while it is created: the
// application's handlers must not run on this thread.
bool IdleFlusher::start() {
  State none = State::kNone;
  if (!state_.compare_exchange_strong(none, State::kStarting)) return none == State::kRunning;
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const bool started = pthread_create(&thread_, nullptr, entry, this) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  state_.store(started ? State::kRunning : State::kNone, std::memory_order_release);
  return started;
}

void IdleFlusher::run() {
  while (true) {
    while (sem_wait(&wake_) != 0) {
    }
    if (stopped_) return;
    pause_();
    // Before the flush: a record that it misses because it comes later wakes the thread again.
    requested_.exchange(false);
    flush_();
  }
}

void* IdleFlusher::entry(void* self) {
  static_cast<IdleFlusher*>(self)->run();
  return nullptr;
}

}  // namespace qx::logger
