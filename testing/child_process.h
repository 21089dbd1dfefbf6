#pragma once

// A child process with which a test exchanges lines. It ends with its object at the latest.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace qx::test {

class ChildProcess {
 public:
  /// Starts `command`, which begins with the program, in the environment of this process changed by
  /// `environment` ("NAME=VALUE"). The child writes to the standard error stream of this process.
  /// Throws std::runtime_error if no process can be created.
  ChildProcess(const std::vector<std::string>& command,
               const std::vector<std::string>& environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  /// Returns the next line without its end. Returns "<end>" if the child has closed its output,
  /// "<silence>" if it writes nothing for a minute.
  std::string line();
  /// Returns the rest of the output, up to the child's end.
  std::string rest();
  /// Writes a line to the child's input. Does nothing if the child has ended.
  void send(const std::string& line);
  /// Ends the child as a crash does.
  void kill();
  /// Waits for the end. Returns the exit code, or the negative number of the signal that ended it.
  int wait();
  /// Waits until the child waits for a lock on a file. Returns false if it writes something or ends
  /// before that, or after a minute.
  bool blocksOnLock();

 private:
  bool readMore(int milliseconds);

  pid_t pid_ = -1;
  int input_ = -1;   // which the child reads
  int output_ = -1;  // which the child writes
  bool ended_ = false;
  std::string buffer_;
  std::optional<int> status_;
};

}  // namespace qx::test
