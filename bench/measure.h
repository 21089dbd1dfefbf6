#pragma once

// How the programs in bench/ measure: both sides of a comparison run in turns in one process, and
// the best round of each counts, so that a busy machine slows neither side alone.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>

namespace qx::bench {

/// Seconds that `work` takes.
template <class Work>
double seconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Best times of both sides over `rounds` turns, each of which calls each side once.
struct Best {
  double ours = std::numeric_limits<double>::max();
  double peer = std::numeric_limits<double>::max();
  double ratio() const { return ours / peer; }
};

template <class Ours, class Peer>
Best compare(int rounds, Ours&& ours, Peer&& peer) {
  Best best;
  for (int round = 0; round < rounds; ++round) {
    best.ours = std::min(best.ours, seconds(ours));
    best.peer = std::min(best.peer, seconds(peer));
  }
  return best;
}

/// The line that every comparison prints.
inline void printRatio(const char* name, double ratio) {
  std::printf("ratio %s %.3f\n", name, ratio);
}

/// Keeps the compiler from dropping a value.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace qx::bench
