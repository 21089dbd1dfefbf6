#pragma once

// A child process with which a test exchanges lines. It ends with its object at the latest.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace qx::test {

class ChildProcess {
 public:
  /// Starts `command`, whose first word is the program, with this process's environment and the
  /// variables of `environment` ("NAME=VALUE") in addition. Standard error is inherited. Throws
  /// std::runtime_error if no process can be created.
  ChildProcess(const std::vector<std::string>& command,
               const std::vector<std::string>& environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  /// Returns the next line without its end; "<end>" if the child has closed its output, "<silence>"
  /// if it writes nothing for a minute.
  std::string line();
  /// Returns the rest of its output, up to its end.
  std::string rest();
  /// Writes a line to its standard input; does nothing if it has ended.
  void send(const std::string& line);
  /// Kills it, as a crash would, and waits for its end.
  void kill();
  /// Waits for its end. Returns its exit code, or minus the signal that ended it.
  int wait();
  /// Waits until it blocks on a lock on a file. Returns false if it writes something or ends first,
  /// or after a minute.
  bool blocksOnLock();

 private:
  bool readMore(int milliseconds);

  pid_t pid_ = -1;
  int input_ = -1;   // its standard input
  int output_ = -1;  // its standard output
  bool ended_ = false;
  std::string buffer_;
  std::optional<int> status_;
};

}  // namespace qx::test
