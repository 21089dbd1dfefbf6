#include "qxdesk/engines/memory_watch.h"

#include "qxdesk/engines/side_thread.h"

#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

namespace qx::desk {

DatabaseError needsTooMuchMemory(std::size_t most) {
  return {Fault::Cancelled, "its rows take more than " + std::to_string(most >> 20) +
                                " MB, the limit of the key memory"};
}

std::size_t residentMemory() {
  std::ifstream file("/proc/self/statm");
  std::size_t all = 0;
  std::size_t resident = 0;
  if (!(file >> all >> resident)) return 0;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

MemoryWatch::MemoryWatch(std::size_t most, Resident resident, Pace pace)
    : most_(most), resident_(std::move(resident)), pace_(pace), process_(getpid()) {
  // Without a thread the statements still work, and their rows are counted after the driver's call.
  thread_ = startSideThread([this] { loop(); });
}

MemoryWatch::~MemoryWatch() {
  if (!thread_.joinable()) return;
  // A forked process has this object, but not the thread.
  if (getpid() != process_) {
    thread_.detach();
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void MemoryWatch::loop() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    asleep_ = !cancel_ && idle_ >= pace_.idleLooks;
    if (asleep_) {
      wake_.wait(lock, [this] { return ending_ || !asleep_; });
      idle_ = 0;
    } else {
      wake_.wait_for(lock, pace_.tick, [this] { return ending_; });
    }
    if (!ending_) look();
  }
}

void MemoryWatch::look() {
  if (!cancel_) {
    ++idle_;
    return;
  }
  idle_ = 0;
  const std::size_t now = resident_();
  if (!before_) before_ = now;
  if (cancelled_ || now <= *before_ + most_) return;
  cancelled_ = true;
  // Under the lock: a cancellation that came after the end of the call could hit the next
  // statement.
  cancel_();
}

MemoryWatch::Call::Call(MemoryWatch& watch, std::function<void()> cancel) : watch_(watch) {
  bool asleep = false;
  {
    const std::lock_guard lock(watch_.mutex_);
    watch_.cancel_ = std::move(cancel);
    watch_.before_.reset();
    watch_.cancelled_ = false;
    asleep = std::exchange(watch_.asleep_, false);
  }
  if (asleep) watch_.wake_.notify_one();
}

MemoryWatch::Call::~Call() { end(); }

bool MemoryWatch::Call::end() {
  const std::lock_guard lock(watch_.mutex_);
  watch_.cancel_ = nullptr;
  return watch_.cancelled_;
}

}  // namespace qx::desk
