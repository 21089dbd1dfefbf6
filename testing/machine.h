#pragma once

// The surroundings of a test program. Its locks, counters, logs and log settings are in a fresh
// folder, its registry is that of this build. They are set up before the first test and removed
// after the last.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace qx::test {

/// Returns the fresh folder.
const std::filesystem::path& machineFolder();

/// Returns the registry file of this build.
std::filesystem::path buildRegistry();
/// Returns the path of a program of this build.
std::filesystem::path buildProgram(const std::string& name);

/// Makes file permissions apply to this process from now on, even if it runs as the superuser.
void obeyFilePermissions();

/// Ends every pause (nanosleep) of this process at once while it lives.
class SkippedPauses {
 public:
  /// `inPause` runs in each pause, in place of what other processes do in that time.
  explicit SkippedPauses(std::function<void()> inPause = {});
  ~SkippedPauses();
  SkippedPauses(const SkippedPauses&) = delete;
  SkippedPauses& operator=(const SkippedPauses&) = delete;

  /// Returns the sum of the skipped pauses.
  static std::int64_t milliseconds();
};

}  // namespace qx::test
