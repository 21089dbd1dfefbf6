#pragma once

// The machine that a test program runs on: its locks, counters, logs and log settings lie in a
// fresh folder, its registry is the one of this build. It stands before the first test and goes
// with the program.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
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

/// The registry that this process uses while it lives.
class RegistryInUse {
 public:
  explicit RegistryInUse(const std::filesystem::path& file);
  ~RegistryInUse();
  RegistryInUse(const RegistryInUse&) = delete;
  RegistryInUse& operator=(const RegistryInUse&) = delete;

 private:
  std::optional<ScopedVariable> variable_;
};

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
