#pragma once

// A file that is opened for reading, whatever its name leads to.

#include <fcntl.h>
#include <unistd.h>

#include <string>

namespace qx {

/// The descriptor of the file; -1 with `errno` if it cannot be opened.
class InputFile {
 public:
  // O_NONBLOCK, since opening a pipe would wait for its other end.
  explicit InputFile(const std::string& path)
      : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
  ~InputFile() {
    if (fd_ >= 0) close(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace qx
