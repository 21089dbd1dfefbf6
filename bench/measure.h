#pragma once

// Measurement for the programs in bench/. Both sides of a comparison run alternately in one
// process, and the best round of each counts, so that a busy machine does not slow one side alone.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>

namespace qx::bench {

/// Returns the seconds that `work` takes.
template <class Work>
double seconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The best times of both sides, in seconds.
struct Best {
  double ours = std::numeric_limits<double>::max();
  double peer = std::numeric_limits<double>::max();
  double ratio() const { return ours / peer; }
};

/// Calls both sides `rounds` times alternately and returns their best times.
template <class Ours, class Peer>
Best compare(int rounds, Ours&& ours, Peer&& peer) {
  Best best;
  for (int round = 0; round < rounds; ++round) {
    best.ours = std::min(best.ours, seconds(ours));
    best.peer = std::min(best.peer, seconds(peer));
  }
  return best;
}

/// Prints the line by which scripts read a comparison.
inline void printRatio(const char* name, double ratio) {
  std::printf("ratio %s %.3f\n", name, ratio);
}

/// Prevents the compiler from removing the computation of `value`.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace qx::bench
