#include "qxlogger/file_api.h"

#include "qxlogger/test_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string>

namespace qx::logger {
namespace {

/// Limits the size of this process's files while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit lower{.rlim_cur = std::min(bytes, before_.rlim_max), .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &lower);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

/// Each test ends the process by SIGXFSZ if the signal arrives.
class FilesAtTheirLimit : public testing::Test {
 protected:
  static bool isLimitSignalPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGXFSZ) == 1;
  }

  test::TemporaryFolder folder;
  FileApi& files = FileApi::system();
  OpenFile file{files, files.open(folder / "file", O_RDWR | O_CREAT)};
  FileSizeLimit limit{10};
};

TEST_F(FilesAtTheirLimit, TakeWhatFitsAndRefuseTheRest) {
  EXPECT_EQ(files.write(file.get(), "0123456789ab", 12), 10);
  EXPECT_EQ(files.write(file.get(), "ab", 2), -EFBIG);
  EXPECT_EQ(writeAll(files, file.get(), "ab", 2), -EFBIG);
  EXPECT_EQ(test::contentOf(folder / "file"), "0123456789");
}

TEST_F(FilesAtTheirLimit, RefuseToBeAllocated) {
  EXPECT_EQ(allocateFile(file.get(), 10), 0);
  EXPECT_EQ(allocateFile(file.get(), 11), -EFBIG);
}

TEST_F(FilesAtTheirLimit, LeaveTheApplicationsSignalsAsTheyWere) {
  sigset_t limitSignal;
  sigset_t before;
  sigset_t after;
  sigemptyset(&limitSignal);
  sigaddset(&limitSignal, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &limitSignal, &before);
  EXPECT_EQ(writeAll(files, file.get(), "0123456789ab", 12), -EFBIG);
  EXPECT_FALSE(isLimitSignalPending());
  raise(SIGXFSZ);
  EXPECT_EQ(files.write(file.get(), "ab", 2), -EFBIG);
  EXPECT_TRUE(isLimitSignalPending());
  int taken = 0;
  sigwait(&limitSignal, &taken);
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(sigismember(&after, SIGXFSZ), 1);
}

}  // namespace
}  // namespace qx::logger
