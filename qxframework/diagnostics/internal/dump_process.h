#pragma once

// Starts what writes the dump of this process, from inside a signal handler: nothing here allocates
// memory, takes a lock or trusts the heap.

#include "qxframework/diagnostics/internal/fault_report.h"

namespace qx::diagnostics {

/// The time for all that a dump takes, in milliseconds.
inline constexpr int kDumpMilliseconds = 5000;

/// Finds the program and copies the environment for it. Returns false if memory is out. Not for
/// handlers.
bool prepareDump();

/// Writes the dump by the program qxdump or, failing that, by a copy of this process. Returns when
/// it is written or the time is over; then the writer is killed.
void dumpFromOutside(const FaultReport& report);

}  // namespace qx::diagnostics
