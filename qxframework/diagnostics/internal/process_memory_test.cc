#include "qxframework/diagnostics/internal/process_memory.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <filesystem>

namespace {

using qx::diagnostics::readMemory;

std::uint64_t addressOf(const void* data) { return reinterpret_cast<std::uint64_t>(data); }

// A page behind which there is no memory.
class LastPage {
 public:
  LastPage() {
    EXPECT_NE(pages_, MAP_FAILED);
    std::memset(pages_, 7, size);
    munmap(pages_ + size, size);
  }
  ~LastPage() { munmap(pages_, size); }
  LastPage(const LastPage&) = delete;
  LastPage& operator=(const LastPage&) = delete;

  /// Returns the address of the last bytes that can be read.
  std::uint64_t last(std::size_t count) const { return addressOf(pages_) + size - count; }

  const std::size_t size = static_cast<std::size_t>(getpagesize());

 private:
  char* const pages_ = static_cast<char*>(
      mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

TEST(ProcessMemory, IsReadUpToUnreadableMemory) {
  const LastPage page;
  char buffer[8] = {};
  EXPECT_EQ(readMemory(getpid(), page.last(8), buffer, 8), 8U);
  EXPECT_EQ(buffer[7], 7);
  EXPECT_EQ(readMemory(getpid(), page.last(3), buffer, 8), 3U);
  EXPECT_EQ(readMemory(getpid(), page.last(0), buffer, 8), 0U);
  EXPECT_EQ(readMemory(getpid(), 0, buffer, 8), 0U);
}

TEST(ProcessMemory, OfNoProcessIsNotRead) {
  char buffer[8] = {};
  EXPECT_EQ(readMemory(INT_MAX, addressOf(buffer), buffer, 8), 0U);
}

// Makes the system refuse the call process_vm_readv in this process from now on.
void refuseCall(int error) {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_process_vm_readv, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{std::size(filter), filter};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    _exit(9);
  }
}

// Runs in a process of its own. Returns the number of the first check that fails, else 0.
int readWithoutCall(int error) {
  refuseCall(error);
  const LastPage page;
  char buffer[8] = {};
  if (readMemory(getpid(), page.last(8), buffer, 8) != 8 || buffer[7] != 7) return 1;
  if (readMemory(getpid(), page.last(3), buffer, 8) != 3) return 2;
  if (readMemory(getpid(), page.last(0), buffer, 8) != 0) return 3;
  if (readMemory(INT_MAX, page.last(8), buffer, 8) != 0) return 4;
  return 0;
}

using ProcessMemoryDeathTest = testing::TestWithParam<int>;

TEST_P(ProcessMemoryDeathTest, IsReadFromItsFileWhereTheCallIsRefused) {
  EXPECT_EXIT(_exit(readWithoutCall(GetParam())), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Each, ProcessMemoryDeathTest, testing::Values(ENOSYS, EPERM));

class WalkedProcess : public testing::Test {
 protected:
  ~WalkedProcess() override { qx::diagnostics::walkProcess(0); }
};

TEST_F(WalkedProcess, IsTheCallerUntilAnotherIsNamed) {
  EXPECT_EQ(qx::diagnostics::walkedProcess(), getpid());
  EXPECT_EQ(qx::diagnostics::processIdOf(GetCurrentProcess()), getpid());
  EXPECT_EQ(qx::diagnostics::walkedExecutable(),
            std::filesystem::read_symlink("/proc/self/exe").string());
  qx::diagnostics::walkProcess(getppid());
  EXPECT_EQ(qx::diagnostics::walkedProcess(), getppid());
  EXPECT_EQ(qx::diagnostics::processIdOf(GetCurrentProcess()), getppid());
  EXPECT_EQ(qx::diagnostics::walkedExecutable(),
            std::filesystem::read_symlink("/proc/" + std::to_string(getppid()) + "/exe").string());
}

TEST_F(WalkedProcess, ThatHasEndedHasNoExecutable) {
  qx::diagnostics::walkProcess(INT_MAX);
  EXPECT_EQ(qx::diagnostics::walkedExecutable(), "");
}

TEST(HandleIds, AreThoseTheHandlesWereMadeOf) {
  EXPECT_EQ(qx::diagnostics::processIdOf(qx::processHandle(88)), 88);
  EXPECT_EQ(qx::diagnostics::processIdOf(nullptr), 0);
  EXPECT_EQ(qx::diagnostics::threadIdOf(qx::threadHandle(77)), 77);
  EXPECT_EQ(qx::diagnostics::threadIdOf(GetCurrentThread()), gettid());
  EXPECT_EQ(qx::diagnostics::threadIdOf(nullptr), 0);
}

}  // namespace
