#include "qxframework/os/shared_counters.h"

#include "qxframework/os/shared_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

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

// Locks one counter until the end of its life. The lock belongs to the open file, so that two
// objects of one process exclude each other.
class CounterLock {
 public:
  CounterLock(int file, off_t offset) : file_(file), offset_(offset) { set(F_WRLCK); }
  ~CounterLock() { set(F_UNLCK); }
  CounterLock(const CounterLock&) = delete;
  CounterLock& operator=(const CounterLock&) = delete;

 private:
  void set(short kind) const {
    struct flock range {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = offset_;
    range.l_len = sizeof(std::int32_t);
    while (fcntl(file_, F_OFD_SETLKW, &range) != 0 && errno == EINTR) {
    }
  }

  int file_;
  off_t offset_;
};

off_t offsetOf(std::size_t index) { return static_cast<off_t>(index * sizeof(std::int32_t)); }

// Every user holds the file's shared lock while it has the block. A process that gets the exclusive
// lock is therefore alone and resets the block. Changing from one lock to the other is not atomic,
// so all openers do it one after the other, under `guard`.
void join(int file, int guard) {
  lockFile(guard, LOCK_EX);
  if (lockFile(file, LOCK_EX | LOCK_NB)) {
    // Growing from nothing fills the file with zeros. The room is taken now, so that no later
    // write can fail for want of it.
    resize(file, 0);
    if (const int error = posix_fallocate(file, 0, kBytes); error != 0) {
      throw std::system_error(error, std::generic_category(), "cannot size the shared counters");
    }
  }
  lockFile(file, LOCK_SH);
  lockFile(guard, LOCK_UN);
}

}  // namespace

struct SharedCounters::State {
  UniqueFd file;
};

SharedCounters::SharedCounters(std::u16string_view name) : SharedCounters(name, runtimeFolder()) {}

SharedCounters::SharedCounters(std::u16string_view name, const std::filesystem::path& folder)
    : state_(std::make_unique<State>()) {
  const UniqueFd guard = openSharedFile(folder, name, ".guard");
  state_->file = openSharedFile(folder, name, ".counters");
  join(state_->file.get(), guard.get());
}

SharedCounters::~SharedCounters() = default;

std::int32_t SharedCounters::get(std::size_t index) const {
  std::int32_t value = 0;
  const auto read = pread(state_->file.get(), &value, sizeof value, offsetOf(index));
  return read == sizeof value ? value : 0;
}

std::int32_t SharedCounters::add(std::size_t index, std::int32_t delta) {
  const int file = state_->file.get();
  const CounterLock lock(file, offsetOf(index));
  const std::int32_t before = get(index);
  // The unsigned sum wraps where the signed one would not be defined.
  const auto value = static_cast<std::int32_t>(static_cast<std::uint32_t>(before) +
                                               static_cast<std::uint32_t>(delta));
  const bool written = pwrite(file, &value, sizeof value, offsetOf(index)) == sizeof value;
  return written ? value : before;
}

}  // namespace qx
