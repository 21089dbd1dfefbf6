#pragma once

// The machine that a test program runs on: its locks, counters, logs and log settings lie in a
// fresh folder, its registry is the one of this build. It stands before the first test and goes
// with the program.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace qx::test {

/// The folder of the program's own machine.
const std::filesystem::path& machineFolder();

/// The registry of the build that the tests belong to.
std::filesystem::path buildRegistry();
/// A program of this build.
std::filesystem::path buildProgram(const std::string& name);

/// From here on the permissions of files hold for this process, also when it is the superuser's.
void obeyFilePermissions();

/// While it lives nobody in this process waits: a pause ends at once.
class SkippedPauses {
 public:
  /// `inPause` is what the rest of the world does in each pause.
  explicit SkippedPauses(std::function<void()> inPause = {});
  ~SkippedPauses();
  SkippedPauses(const SkippedPauses&) = delete;
  SkippedPauses& operator=(const SkippedPauses&) = delete;

  /// What the pauses would have taken in all.
  static std::int64_t milliseconds();
};

}  // namespace qx::test
