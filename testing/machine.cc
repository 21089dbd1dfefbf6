#include "testing/machine.h"

#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <utility>

namespace qx::test {
namespace {

std::atomic<bool> g_skipsPauses{false};
std::atomic<std::int64_t> g_skippedMilliseconds{0};

std::function<void()> g_inPause;

std::optional<TempFolder> g_folder;

class Machine final : public testing::Environment {
 public:
  void SetUp() override {
    const TempFolder& folder = g_folder.emplace();
    const auto settings = folder.write("log.toml", "level = 6\nfile_size_mb = 100\n");
    setenv("QX_RUNTIME_DIR", (folder.path() / "run").c_str(), 1);
    setenv("QX_LOG_DIR", (folder.path() / "log").c_str(), 1);
    setenv("QX_LOG_SETTINGS", settings.c_str(), 1);
    setenv("QX_REGISTRY", buildRegistry().c_str(), 1);
  }
  void TearDown() override { g_folder.reset(); }
};

[[maybe_unused]] const testing::Environment* const g_machine =
    testing::AddGlobalTestEnvironment(new Machine);

}  // namespace

const std::filesystem::path& machineFolder() { return g_folder->path(); }

std::filesystem::path buildRegistry() { return QX_BUILD_FOLDER "/registry.toml"; }

std::filesystem::path buildProgram(const std::string& name) {
  return std::filesystem::path(QX_BUILD_FOLDER "/bin") / name;
}

void obeyFilePermissions() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (syscall(SYS_capget, &header, data) != 0) throw std::runtime_error("capget");
  const std::uint32_t past = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH);
  data[0].effective &= ~past;
  data[0].permitted &= ~past;
  data[0].inheritable &= ~past;
  if (syscall(SYS_capset, &header, data) != 0) throw std::runtime_error("capset");
}

SkippedPauses::SkippedPauses(std::function<void()> inPause) {
  g_inPause = std::move(inPause);
  g_skippedMilliseconds = 0;
  g_skipsPauses = true;
}

SkippedPauses::~SkippedPauses() {
  g_skipsPauses = false;
  g_inPause = nullptr;
}

std::int64_t SkippedPauses::milliseconds() { return g_skippedMilliseconds; }

}  // namespace qx::test

// Replaces nanosleep of the C library in this program and in the libraries that it loads: the
// dynamic linker finds the program's symbols first.
extern "C" [[gnu::visibility("default")]] int nanosleep(const timespec* wanted, timespec* left) {
  if (qx::test::g_skipsPauses) {
    qx::test::g_skippedMilliseconds += wanted->tv_sec * 1000 + wanted->tv_nsec / 1'000'000;
    if (qx::test::g_inPause) qx::test::g_inPause();
    return 0;
  }
  return static_cast<int>(syscall(SYS_nanosleep, wanted, left));
}
