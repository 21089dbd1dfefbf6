#pragma once

// The pauses between the runs of work that has met a conflict.

#include <chrono>
#include <functional>

namespace qx {

/// Returns a number from 0 up to, but without, 1.
using RandomSource = std::function<double()>;

/// Makes `source` the one of the pauses, or the process's own if it is empty, and returns the one
/// before. Tests set it.
RandomSource setRetryRandom(RandomSource source);

/// Returns the pause after the failed try with this number, from 1: 5 milliseconds, doubled with
/// each try up to 200, times a random factor between a half and one and a half. Programs that
/// have met once would meet again and again if they all paused alike.
std::chrono::milliseconds retryPause(int failedTries);

}  // namespace qx
