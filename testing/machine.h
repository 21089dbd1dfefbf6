#pragma once

// The machine of a test program: its locks, counters, logs and log settings are in a temporary
// folder, and its registry is the one of this build. It is set up before the first test and removed
// after the last. A program gets it by linking machine.cc.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace qx::test {

/// Returns the temporary folder of this program's machine.
const std::filesystem::path& machineFolder();

/// Returns the path of the registry of this build.
std::filesystem::path buildRegistry();
/// Returns the path of a program of this build.
std::filesystem::path buildProgram(const std::string& name);

/// Makes this process obey the permissions of files from now on, also if it runs as root. Throws
/// std::runtime_error if that is not possible. A PostgresServer must be started before this: its
/// keeper writes into a folder of another user.
void obeyFilePermissions();

/// Makes every pause of this process end at once while it lives; one object at a time.
class SkippedPauses {
 public:
  /// `inPause` is called in each pause, for the actions of other programs at that time.
  explicit SkippedPauses(std::function<void()> inPause = {});
  ~SkippedPauses();
  SkippedPauses(const SkippedPauses&) = delete;
  SkippedPauses& operator=(const SkippedPauses&) = delete;

  /// Returns the sum of the skipped pauses.
  static std::int64_t milliseconds();
};

}  // namespace qx::test
