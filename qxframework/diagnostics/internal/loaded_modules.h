#pragma once

// The modules of a process, by two ways: the loader of this process knows its own modules; the
// kernel's list of mappings knows those of any process.

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qx::diagnostics {

/// A module and the memory from its first segment to its last.
struct LoadedModule {
  std::string image;  ///< the path of its file
  std::string name;   ///< the file name without folders
  std::uint64_t base = 0;
  std::uint32_t size = 0;  ///< in bytes
};

/// Returns the modules that the loader of this process lists, the executable first. Returns nothing
/// for another process.
std::vector<LoadedModule> modulesOfLoader(pid_t process);

/// Returns the modules among the mappings of a process, by ascending address, at most `limit`.
std::vector<LoadedModule> modulesOfMappings(pid_t process, std::size_t limit);

}  // namespace qx::diagnostics
