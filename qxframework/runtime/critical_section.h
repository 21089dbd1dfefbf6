#pragma once

#include <mutex>

namespace qx {

/// A lock within the process that the thread that holds it may take again.
using CriticalSection = std::recursive_mutex;
using CriticalSectionLock = std::lock_guard<CriticalSection>;

}  // namespace qx
