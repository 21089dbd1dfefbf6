// Arbitrary registry files. Each is read without a crash, and what is found in it is found under
// the same key in another case.

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/registry.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

// A file in memory, by the name that the system gives to an open descriptor.
class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("registry", MFD_CLOEXEC)) {
    if (fd_ < 0) std::abort();
  }
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  void write(const std::uint8_t* data, std::size_t size) const {
    if (ftruncate(fd_, 0) != 0) std::abort();
    if (pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  }

 private:
  int fd_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  static const bool quiet = [] {
    qx::setDeveloperTraceSink([](std::u16string_view) {});
    return true;
  }();
  if (!quiet) return 0;
  file.write(data, size);
  const qx::Registry registry(file.path());
  const auto upper = registry.readString(HKEY_CURRENT_USER, u"KEY\\SUB", u"NAME");
  const auto lower = registry.readString(HKEY_CURRENT_USER, u"key\\sub\\", u"name");
  if (upper != lower) std::abort();
  return 0;
}
