#pragma once

// Threads of our own beside those of the program that uses this library.

#include <functional>
#include <thread>

namespace qx::desk {

/// Starts a thread that leaves the program's signals to the program's threads. Returns one that is
/// not joinable where the system has no thread left. `body` must not throw.
std::thread startSideThread(std::function<void()> body);

}  // namespace qx::desk
