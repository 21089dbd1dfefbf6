#include "qxframework/diagnostics/internal/process_memory.h"

#include "qxframework/os/unique_fd.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

namespace qx::diagnostics {
namespace {

std::atomic<pid_t> g_walked{0};

// The way for systems that do not allow the call below.
std::size_t readFile(pid_t process, std::uint64_t address, void* buffer, std::size_t size) {
  const std::string path = "/proc/" + std::to_string(process) + "/mem";
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return 0;
  const ssize_t count = pread(file.get(), buffer, size, static_cast<off_t>(address));
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

}  // namespace

pid_t walkedProcess() {
  const pid_t walked = g_walked.load(std::memory_order_relaxed);
  return walked != 0 ? walked : getpid();
}

void walkProcess(pid_t process) { g_walked.store(process, std::memory_order_relaxed); }

pid_t processIdOf(HANDLE process) {
  if (process == GetCurrentProcess()) return walkedProcess();
  return static_cast<pid_t>(reinterpret_cast<std::intptr_t>(process));
}

pid_t threadIdOf(HANDLE thread) {
  if (thread == GetCurrentThread()) return gettid();
  return static_cast<pid_t>(reinterpret_cast<std::intptr_t>(thread));
}

std::string walkedExecutable() {
  std::error_code failure;
  const std::string link = "/proc/" + std::to_string(walkedProcess()) + "/exe";
  const std::filesystem::path target = std::filesystem::read_symlink(link, failure);
  return failure ? std::string() : target.string();
}

std::size_t readMemory(pid_t process, std::uint64_t address, void* buffer, std::size_t size) {
  const iovec local{buffer, size};
  const iovec remote{reinterpret_cast<void*>(address), size};
  const ssize_t count = process_vm_readv(process, &local, 1, &remote, 1, 0);
  if (count >= 0) return static_cast<std::size_t>(count);
  return errno == ENOSYS || errno == EPERM ? readFile(process, address, buffer, size) : 0;
}

}  // namespace qx::diagnostics
