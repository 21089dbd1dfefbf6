#pragma once

// The machine that a test program runs on: its locks, counters, logs and log settings lie in a
// fresh folder, its registry is the one of this build. It stands before the first test and goes
// with the program.

#include <cstdint>
#include <filesystem>
#include <string>

namespace qx::test {

/// The folder of the program's own machine.
const std::filesystem::path& machineFolder();

/// The registry of the build that the tests belong to.
std::filesystem::path buildRegistry();
/// A program of this build.
std::filesystem::path buildProgram(const std::string& name);

/// An environment variable for the life of a test.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, const std::string& value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::string before_;
  bool wasSet_;
};

/// While it lives nobody in this process waits: a pause ends at once.
class SkippedPauses {
 public:
  SkippedPauses();
  ~SkippedPauses();
  SkippedPauses(const SkippedPauses&) = delete;
  SkippedPauses& operator=(const SkippedPauses&) = delete;

  /// What the pauses would have taken in all.
  static std::int64_t milliseconds();
};

}  // namespace qx::test
