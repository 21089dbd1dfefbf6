#pragma once

// A text that a test hands to the resource loader at run time. A resource without a "<" names a
// file: the programs that use this embed one with the text /proc/self/fd/200, and the file behind
// that number lives in memory.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace qx::test {

class DefinitionFile {
 public:
  static constexpr int kDescriptor = 200;
  static constexpr unsigned kResource = 900;

  DefinitionFile() {
    const int made = memfd_create("definition", MFD_CLOEXEC);
    if (made < 0 || dup2(made, kDescriptor) != kDescriptor) throw std::runtime_error("no memory");
    close(made);
  }
  ~DefinitionFile() { close(kDescriptor); }
  DefinitionFile(const DefinitionFile&) = delete;
  DefinitionFile& operator=(const DefinitionFile&) = delete;

  void write(std::string_view content) const {
    if (ftruncate(kDescriptor, 0) != 0 || pwrite(kDescriptor, content.data(), content.size(), 0) !=
                                              static_cast<ssize_t>(content.size())) {
      throw std::runtime_error("cannot write the definition");
    }
  }
};

}  // namespace qx::test
