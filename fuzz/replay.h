#pragma once

// Runs a fuzz target with files where libFuzzer is not available, within the same limits for each
// case: a case that takes too long or too much memory is a finding as a crash is.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace qx::fuzz {

/// Limits of one case; 0 is no limit.
struct Limits {
  std::chrono::seconds time{0};
  long megabytes = 0;
};

struct CommandLine {
  Limits limits;
  std::vector<std::string> files;
};

/// Reads "-timeout=SECONDS", "-rss_limit_mb=MEGABYTES" and files. Other options of libFuzzer, which
/// begin with "-" as well, have no meaning here.
CommandLine readCommandLine(const std::vector<std::string>& arguments);

/// What a run takes from the machine.
struct Machine {
  std::function<std::chrono::steady_clock::time_point()> now;
  /// Ends this process after the time with a message about the file, unless it is called again;
  /// 0 ends nothing. It catches a case that never returns.
  std::function<void(std::chrono::seconds time, const std::string& file)> setAlarm;
  /// Counts the peak of memory anew from here.
  std::function<void()> resetPeak;
  std::function<long()> peakMegabytes;
};

/// Returns the machine that the process runs on.
Machine thisMachine();

using Target = std::function<int(const std::uint8_t* data, std::size_t size)>;

/// Runs the target once with the content of each file. Returns 0, or the exit code after a message:
/// 1 for a file that cannot be read, 70 for a case that took too long and 71 for one that took too
/// much memory.
int replay(const CommandLine& command, const Target& target, const Machine& machine,
           std::ostream& messages);

}  // namespace qx::fuzz
