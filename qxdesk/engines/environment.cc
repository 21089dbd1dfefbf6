#include "qxdesk/engines/environment.h"

#include "qxdesk/sql/stored_date.h"

#include <linux/futex.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <ctime>
#include <stdexcept>
#include <thread>

namespace qx::desk {

namespace {

std::string localNow() {
  std::string text;
  if (const auto now = localTime(std::time(nullptr))) sql::assignStored(text, *now);
  return text;
}

void fillFromKernel(std::span<std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    // getrandom returns fewer bytes than asked for if a signal interrupts a long read.
    const ssize_t got = getrandom(bytes.data() + done, bytes.size() - done, 0);
    if (got < 0) throw std::runtime_error("the system returns no random bytes");
    done += static_cast<std::size_t>(got);
  }
}

void awaitSharedChange(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                       std::chrono::milliseconds most) {
  const timespec time{.tv_sec = most.count() / 1000, .tv_nsec = most.count() % 1000 * 1'000'000};
  syscall(SYS_futex, &word, FUTEX_WAIT, value, &time, nullptr, 0);
}

}  // namespace

CompanyEnvironment systemEnvironment() {
  CompanyEnvironment environment;
  environment.now = localNow;
  environment.sleep = [](int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  };
  environment.awaitChange = awaitSharedChange;
  environment.fillRandom = fillFromKernel;
  environment.program = program_invocation_short_name;
  return environment;
}

void wakeWaiters(std::atomic<std::uint32_t>& word) {
  syscall(SYS_futex, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace qx::desk
