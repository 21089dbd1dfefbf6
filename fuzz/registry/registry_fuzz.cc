// Arbitrary registry files. Each is read without a crash, and what is found in it is found under
// the same key in another case.

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/registry.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

// A file in memory, by the name that the system gives to an open descriptor.
class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("registry", MFD_CLOEXEC)) {
    // A registry that others can write is refused before it is parsed, and memory is made so.
    if (fd_ < 0 || fchmod(fd_, S_IRUSR | S_IWUSR) != 0) std::abort();
  }
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  void write(const std::uint8_t* data, std::size_t size) const {
    if (ftruncate(fd_, 0) != 0) std::abort();
    if (pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  }

 private:
  int fd_;
};

constexpr char kKnown[] = "['HKEY_CURRENT_USER\\key\\sub']\nname = 'value'\n";

std::optional<std::u16string> nameIn(const qx::Registry& registry, std::u16string_view key,
                                     std::u16string_view name) {
  return registry.readString(HKEY_CURRENT_USER, key, name);
}

// Ends the run if files in memory are refused as a whole: then no text would reach the parser.
void needReading(const MemoryFile& file) {
  file.write(reinterpret_cast<const std::uint8_t*>(kKnown), sizeof kKnown - 1);
  if (nameIn(qx::Registry(file.path()), u"key\\sub", u"name") != u"value") std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  static const bool ready = [] {
    qx::setDeveloperTraceSink([](std::u16string_view) {});
    needReading(file);
    return true;
  }();
  if (!ready) return 0;
  file.write(data, size);
  const qx::Registry registry(file.path());
  if (nameIn(registry, u"KEY\\SUB", u"NAME") != nameIn(registry, u"key\\sub\\", u"name")) {
    std::abort();
  }
  return 0;
}
