#include "qxframework/business/internal/retry_pause.h"

#include <unistd.h>

#include <algorithm>
#include <random>
#include <utility>

namespace qx {
namespace {

constexpr double kFirstPause = 5;  // milliseconds
// With longer ones, those that have tried often come too seldom to win against newcomers.
constexpr double kLongestPause = 200;

// Different in each process; it need not be hard to guess.
double processRandom() {
  static thread_local std::minstd_rand engine(
      static_cast<unsigned>(getpid()) ^
      static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count()));
  return std::uniform_real_distribution<double>(0, 1)(engine);
}

RandomSource& retryRandom() {
  static auto* const source = new RandomSource(&processRandom);
  return *source;
}

}  // namespace

RandomSource setRetryRandom(RandomSource source) {
  if (!source) source = &processRandom;
  return std::exchange(retryRandom(), std::move(source));
}

std::chrono::milliseconds retryPause(int failedTries) {
  double pause = kFirstPause;
  for (int i = 1; i < failedTries && pause < kLongestPause; ++i) pause *= 2;
  pause = std::min(pause, kLongestPause) * (0.5 + retryRandom()());
  return std::chrono::milliseconds(static_cast<long>(pause));
}

}  // namespace qx
