// The log on a file system without space: a small one in memory, in a process of its own. No record
// may end the process, and records are written again as soon as there is room.

#include "qxlogger/shared_log.h"
#include "qxlogger/shared_region.h"
#include "qxlogger/test_support.h"
#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace qx::logger {
namespace {

constexpr LogLimits kLimits{.fileCount = 2, .fileBytes = 1 << 20};
constexpr int kNoMounts = 77;

// Root may mount; another user may do so in a name space of its own, on most systems.
bool mountSmallDisk(const std::string& folder) {
  const int spaces = CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER);
  return unshare(spaces) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("none", folder.c_str(), "tmpfs", 0, "size=256k,mode=700") == 0;
}

/// A disk of 256 KB that is filled on demand.
class SmallDisk : public testing::Test {
 protected:
  void SetUp() override {
    if (onSmallDisk([] { return 0; }) == kNoMounts) {
      GTEST_SKIP() << "this system does not let the test mount a small disk";
    }
  }
  /// Runs `body` with the disk in a process of its own and returns what it returns; minus the
  /// signal that ended it.
  int onSmallDisk(const std::function<int()>& body) const {
    const pid_t child = fork();
    if (child == 0) _exit(mountSmallDisk(folder_.path().string()) ? body() : kNoMounts);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  void fill() const {
    std::ofstream file(folder_.file("filler"), std::ios::binary);
    while (file.put('x').flush()) {
    }
  }
  void makeRoom() const { std::filesystem::remove(folder_.file("filler")); }
  Appended append(const std::string& text) {
    const LogLine line{.text = text, .time = LogClock::system().wallNanoseconds()};
    return log_.append(line, kLimits);
  }

  qx::test::TempFolder folder_;
  SharedLog log_{FileApi::system(), LogClock::system(), folder_.path().string(), "x"};
};

TEST_F(SmallDisk, ARegionWithHolesIsRefusedWhenTheDiskIsFull) {
  const int result = onSmallDisk([this] {
    const std::string path = folder_.file(".x.sync1");
    std::ofstream(path).close();
    std::filesystem::resize_file(path, 100'000);
    fill();
    int error = 0;
    const auto region = SharedRegion::open(FileApi::system(), path, error);
    return region == nullptr ? error : 0;
  });
  EXPECT_EQ(result, ENOSPC);
}

TEST_F(SmallDisk, ARegionWithHolesIsUsedWhenThereIsRoom) {
  const int result = onSmallDisk([this] {
    const std::string path = folder_.file(".x.sync1");
    std::ofstream(path).close();
    std::filesystem::resize_file(path, 100'000);
    if (append("a record\n") != Appended::kWritten) return 1;
    fill();
    // The pages of the region are there, also those that no record has used yet.
    for (int i = 0; i < 1'000; ++i) append(std::string(200, 'y') + "\n");
    return 0;
  });
  EXPECT_EQ(result, 0);
}

TEST_F(SmallDisk, RecordsAreDroppedAndWrittenAgainWithRoom) {
  const int result = onSmallDisk([this] {
    fill();
    if (append("lost\n") != Appended::kDropped) return 1;
    makeRoom();
    if (append("kept\n") != Appended::kWritten) return 2;
    const std::string text = qx::test::contentOfExisting(folder_.file("x.log"));
    if (text.find("Records dropped: 1 (No space left on device)") == text.npos) return 3;
    return text.ends_with("kept\n") ? 0 : 4;
  });
  EXPECT_EQ(result, 0);
}

}  // namespace
}  // namespace qx::logger
