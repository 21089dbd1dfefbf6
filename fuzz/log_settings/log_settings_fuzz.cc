// Arbitrary settings files of the log. Whatever is in the file, the settings are within their
// ranges.

#include "qxlogger/file_api.h"
#include "qxlogger/log_settings.h"
#include "qxlogger/settings_file.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// One file with the given content, for reading.
class OneFile final : public qx::logger::FileApi {
 public:
  std::string_view content = "";  // not null, even without bytes: memcpy() must not get null

  int open(const std::string&, int) override { return 0; }
  int close(int) override { return 0; }
  std::int64_t write(int, const char*, std::size_t) override { return -EROFS; }
  std::int64_t readAt(int, char* data, std::size_t size, std::int64_t offset) override {
    const std::string_view rest =
        content.substr(std::min(static_cast<std::size_t>(offset), content.size()));
    const std::size_t taken = std::min(size, rest.size());
    std::memcpy(data, rest.data(), taken);
    return static_cast<std::int64_t>(taken);
  }
  int truncate(int, std::int64_t) override { return -EROFS; }
  int sync(int) override { return 0; }
  int info(int, qx::logger::FileInfo& info) override {
    info = {};
    info.size = static_cast<std::int64_t>(content.size());
    info.plain = true;
    info.own = true;
    return 0;
  }
  int info(const std::string&, qx::logger::FileInfo& out) override { return info(0, out); }
  int rename(const std::string&, const std::string&) override { return -EROFS; }
  int remove(const std::string&) override { return -EROFS; }
  int makeFolder(const std::string&) override { return -EROFS; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OneFile file;
  if (size > 0) file.content = {reinterpret_cast<const char*>(data), size};
  const qx::logger::LogSettings read = qx::logger::loadSettings(file, "log.toml");
  if (!(read == qx::logger::withinLimits(read))) std::abort();
  return 0;
}
