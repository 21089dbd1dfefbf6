#include "fuzz/replay.h"

#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>

namespace qx::fuzz {

namespace {

constexpr int kUnreadable = 1;
constexpr int kTooLong = 70;  // as libFuzzer
constexpr int kTooMuch = 71;

// A handler can be given nothing else; the text lives as long as the case.
const char* alarmed = "";
std::size_t alarmedSize = 0;

void onAlarm(int /*signal*/) {
  constexpr std::string_view kWords = ": the case does not end within its limit of time\n";
  // A handler has nothing to do about a failure to write.
  if (write(STDERR_FILENO, alarmed, alarmedSize) >= 0 &&
      write(STDERR_FILENO, kWords.data(), kWords.size()) >= 0) {
    _exit(kTooLong);
  }
  _exit(kTooLong);
}

void setProcessAlarm(std::chrono::seconds time, const std::string& file) {
  alarm(0);
  alarmed = file.data();
  alarmedSize = file.size();
  std::signal(SIGALRM, onAlarm);
  alarm(static_cast<unsigned>(time.count()));
}

void resetProcessPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

long processPeak() {
  constexpr std::string_view kPeak = "VmHWM:";
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(kPeak)) return std::stol(line.substr(kPeak.size())) / 1024;
  }
  return 0;
}

std::optional<long> valueOf(std::string_view argument, std::string_view option) {
  if (!argument.starts_with(option)) return std::nullopt;
  return std::stol(std::string(argument.substr(option.size())));
}

int replayOne(const std::string& file, const std::string& content, const Limits& limits,
              const Target& target, const Machine& machine, std::ostream& messages) {
  // The alarm comes after the limit, so that the usual case is the one with the numbers.
  const bool timed = limits.time.count() > 0;
  machine.setAlarm(timed ? limits.time + std::chrono::seconds(1) : std::chrono::seconds(0), file);
  machine.resetPeak();
  const auto start = machine.now();
  target(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  const auto time = machine.now() - start;
  machine.setAlarm(std::chrono::seconds(0), file);
  const long peak = machine.peakMegabytes();
  if (timed && time > limits.time) {
    messages << file << ": the case took "
             << std::chrono::duration_cast<std::chrono::milliseconds>(time).count()
             << " ms, more than " << limits.time.count() << " s\n";
    return kTooLong;
  }
  if (limits.megabytes > 0 && peak > limits.megabytes) {
    messages << file << ": the process took " << peak << " MB, more than " << limits.megabytes
             << " MB\n";
    return kTooMuch;
  }
  return 0;
}

}  // namespace

CommandLine readCommandLine(const std::vector<std::string>& arguments) {
  CommandLine command;
  for (const std::string& argument : arguments) {
    if (const auto seconds = valueOf(argument, "-timeout=")) {
      command.limits.time = std::chrono::seconds(*seconds);
    } else if (const auto megabytes = valueOf(argument, "-rss_limit_mb=")) {
      command.limits.megabytes = *megabytes;
    } else if (!argument.starts_with('-')) {
      command.files.push_back(argument);
    }
  }
  return command;
}

Machine thisMachine() {
  return {std::chrono::steady_clock::now, setProcessAlarm, resetProcessPeak, processPeak};
}

int replay(const CommandLine& command, const Target& target, const Machine& machine,
           std::ostream& messages) {
  for (const std::string& file : command.files) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
      messages << file << ": cannot be read\n";
      return kUnreadable;
    }
    const std::string content(std::istreambuf_iterator<char>(stream), {});
    const int code = replayOne(file, content, command.limits, target, machine, messages);
    if (code != 0) return code;
  }
  return 0;
}

}  // namespace qx::fuzz
