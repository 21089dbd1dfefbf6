#pragma once

// What a walk needs of a process: its ids, its executable and its memory.

#include "qxframework/diagnostics/exception_context.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace qx::diagnostics {

/// Returns the process for which this one works: itself, unless walkProcess() has named another.
/// GetCurrentProcess() stands for it in all operations of this folder.
pid_t walkedProcess();
/// Makes this process work for another one. The program that writes the dump of a dying process
/// calls it, so that the dump is the same as if the dying process had written it.
void walkProcess(pid_t process);

/// Return the ids that handles name; 0 for null.
pid_t processIdOf(HANDLE process);
pid_t threadIdOf(HANDLE thread);

/// Returns the path of the walked process's executable, empty if it cannot be read.
std::string walkedExecutable();

/// Copies `size` bytes of a process's memory. Returns the number of bytes copied, which is smaller
/// where unreadable memory begins. An unreadable address never faults, also in this process.
std::size_t readMemory(pid_t process, std::uint64_t address, void* buffer, std::size_t size);

}  // namespace qx::diagnostics
