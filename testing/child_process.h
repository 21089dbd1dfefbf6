#pragma once

// A child process that a test talks with line by line. It does not outlive its object.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace qx::test {

class ChildProcess {
 public:
  /// Starts `command`, the program first, with `environment` ("NAME=VALUE") on top of this
  /// process's own. Its standard error stays this process's.
  ChildProcess(const std::vector<std::string>& command,
               const std::vector<std::string>& environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  /// The next line, without its end; "<end>" when the child has closed its output, "<silence>" when
  /// it says nothing for a minute.
  std::string line();
  /// All that it still writes, up to its end.
  std::string rest();
  void send(const std::string& line);
  /// Ends it as a crash would.
  void kill();
  /// Its exit code, or minus the signal that ended it.
  int wait();
  /// Waits until it waits for a lock on a file. False when it says something before that.
  bool blocksOnLock();

 private:
  bool readMore(int milliseconds);

  pid_t pid_ = -1;
  int input_ = -1;   // what it reads
  int output_ = -1;  // what it writes
  bool ended_ = false;
  std::string buffer_;
  std::optional<int> status_;
};

}  // namespace qx::test
