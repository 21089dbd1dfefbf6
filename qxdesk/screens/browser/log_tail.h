#pragma once

// Follows a file to which others append: the log of the add-on. A record is in the file at once or,
// at the end of a flood of records, some 20 ms later; qxlogger/shared_log.h says why.

#include "qxframework/os/unique_fd.h"

#include <sys/types.h>

#include <string>

namespace qx::screens {

class LogTail {
 public:
  /// Begins at the present end of the file, or at its beginning if it does not exist yet.
  explicit LogTail(std::string path);

  /// Returns what has been added since the last call, at most `most` bytes, whole lines if there is
  /// one. Goes on in the new file after the file was rotated; if that happens twice between two
  /// calls, what was in the file between is left out.
  std::string read(std::size_t most);

 private:
  void open();
  bool isReplaced() const;
  void readTo(std::string& out, std::size_t most);

  const std::string path_;
  UniqueFd file_;
  off_t at_ = 0;
};

/// Returns the path of the log file to which this process's records go; empty if there is none.
std::string logFileOfThisProcess();

}  // namespace qx::screens
