#pragma once

// A text that the resource loader reads and a test sets at run time. A resource without a "<" names
// a file. The programs that use this class embed a resource with the text /proc/self/fd/200, and
// this class opens a file in memory under that descriptor.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace qx::test {

class DefinitionFile {
 public:
  static constexpr int kDescriptor = 200;
  static constexpr unsigned kResource = 900;  // the resource that names the file

  DefinitionFile() {
    const int made = memfd_create("definition", MFD_CLOEXEC);
    if (made < 0 || dup2(made, kDescriptor) != kDescriptor) throw std::runtime_error("no memory");
    close(made);
  }
  ~DefinitionFile() { close(kDescriptor); }
  DefinitionFile(const DefinitionFile&) = delete;
  DefinitionFile& operator=(const DefinitionFile&) = delete;

  /// Replaces the content. Throws std::runtime_error if the memory does not suffice.
  void write(std::string_view content) const {
    if (ftruncate(kDescriptor, 0) != 0 || pwrite(kDescriptor, content.data(), content.size(), 0) !=
                                              static_cast<ssize_t>(content.size())) {
      throw std::runtime_error("cannot write the definition");
    }
  }
};

}  // namespace qx::test
