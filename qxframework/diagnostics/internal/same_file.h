#pragma once

// Detects a module that was replaced on disk after a process had loaded it.

#include <sys/types.h>

#include <cstdint>

namespace qx::diagnostics {

/// True if the head of the open ELF file is what the process has mapped at `base`. The head holds
/// the program headers and, with the usual linkers, the build id. A file that was only stripped
/// since is the same.
bool isSameFile(int file, pid_t process, std::uint64_t base);

}  // namespace qx::diagnostics
