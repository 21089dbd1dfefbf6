#include "qxdesk/engines/environment.h"

#include <sys/random.h>

#include <chrono>
#include <ctime>
#include <stdexcept>
#include <thread>

namespace qx::desk {

namespace {

std::string localNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return std::string(text, length);
}

void fillFromKernel(std::span<std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = getrandom(bytes.data() + done, bytes.size() - done, 0);
    if (got < 0) throw std::runtime_error("the system gives no random bytes");
    done += static_cast<std::size_t>(got);
  }
}

}  // namespace

CompanyEnvironment systemEnvironment() {
  CompanyEnvironment environment;
  environment.now = localNow;
  environment.sleep = [](int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  };
  environment.fillRandom = fillFromKernel;
  return environment;
}

}  // namespace qx::desk
