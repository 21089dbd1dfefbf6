#include "qxframework/os/shared_counters.h"

#include "qxframework/os/shared_file.h"

#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace qx {
namespace {

constexpr std::size_t kBytes = SharedCounters::kCount * sizeof(std::int32_t);
static_assert(kBytes == 200, "processes of different builds share the block");

void resize(int fd, std::size_t size) {
  if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot size the shared counters");
  }
}

// Every user holds the file's shared lock while it has the block. A process that gets the exclusive
// lock is therefore alone and resets the block. Changing from one lock to the other is not atomic,
// so all openers do it one after the other, under `guard`.
void join(int file, int guard) {
  lockFile(guard, LOCK_EX);
  if (lockFile(file, LOCK_EX | LOCK_NB)) {
    // Growing from nothing fills the file with zeros.
    resize(file, 0);
    resize(file, kBytes);
  }
  lockFile(file, LOCK_SH);
  lockFile(guard, LOCK_UN);
}

}  // namespace

struct SharedCounters::State {
  UniqueFd file;
  void* memory = MAP_FAILED;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    // Before the file is closed, which ends the lock: no process may reset a block in use.
    if (memory != MAP_FAILED) munmap(memory, kBytes);
  }
};

SharedCounters::SharedCounters(std::u16string_view name) : SharedCounters(name, runtimeFolder()) {}

SharedCounters::SharedCounters(std::u16string_view name, const std::filesystem::path& folder)
    : state_(std::make_unique<State>()) {
  const UniqueFd guard = openSharedFile(folder, name, ".guard");
  state_->file = openSharedFile(folder, name, ".counters");
  join(state_->file.get(), guard.get());
  state_->memory = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, state_->file.get(), 0);
  if (state_->memory == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "cannot map the shared counters");
  }
}

SharedCounters::~SharedCounters() = default;

std::int32_t* SharedCounters::data() const { return static_cast<std::int32_t*>(state_->memory); }

std::int32_t SharedCounters::get(std::size_t index) const {
  return std::atomic_ref(data()[index]).load();
}

std::int32_t SharedCounters::add(std::size_t index, std::int32_t delta) {
  return std::atomic_ref(data()[index]).fetch_add(delta) + delta;
}

}  // namespace qx
