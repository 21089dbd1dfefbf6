#include "qxlogger/shared_region.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <ctime>
#include <new>
#include <utility>

namespace qx::logger {

namespace {

constexpr std::uint64_t kMagic = 0x31474F4C58510A1A;
constexpr std::int64_t kSecond = 1'000'000'000;
// Only a process that is killed between locking and preparing causes another attempt.
constexpr int kAttempts = 100;

constexpr int kAttemptsBeforeSleep = 50;

// Leaves the processor to the other thread on the same core for some ten nanoseconds.
void pauseBriefly() {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

// Gives the file its size with space on the disk: a store into a hole of the mapping would end the
// process by SIGBUS when the disk is full.
int makeRoom(FileApi& files, int file, std::size_t size) {
  FileInfo info;
  if (const int error = files.info(file, info); error < 0) return error;
  const auto length = static_cast<std::int64_t>(size);
  return info.size >= length ? 0 : allocateFile(file, length);
}

// Robust: after the death of its owner, locking returns EOWNERDEAD instead of blocking for ever.
int makeMutex(pthread_mutex_t& mutex) {
  pthread_mutexattr_t attributes;
  int error = pthread_mutexattr_init(&attributes);
  if (error != 0) return -error;
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  error = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return -error;
}

// Rejects the content of a file that a power failure or another program has damaged.
template <typename Layout>
bool isSane(const Layout& layout) {
  if (layout.magic != kMagic || layout.valid > 1) return false;
  const SharedState& state = layout.states[layout.valid];
  if (state.start > state.end || state.end > SharedRegion::kPendingCapacity) return false;
  return state.end == 0 || layout.pending[state.end - 1] == '\n';
}

// The caller holds the exclusive lock, so no other process uses the region. Keeps the records that
// an earlier one left pending. The magic number is last, so that it also marks the mutex as usable.
template <typename Layout>
int prepare(Layout& layout) {
  if (!isSane(layout)) {
    layout.valid = 0;
    layout.states[0] = SharedState{};
  }
  layout.needsRecovery = 1;
  const int error = makeMutex(layout.mutex);
  if (error == 0) layout.magic = kMagic;
  return error;
}

// Leaves the file locked in shared mode for the life of the descriptor, so that no process prepares
// it again while it is in use.
template <typename Layout>
int enter(int file, Layout& layout) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (lockFile(file, LOCK_EX | LOCK_NB) == 0) {
      // A file that was there already may have holes, for example after a restore of a backup. On
      // file systems without this operation bytes are written, so no other process may use it.
      int error = allocateFile(file, sizeof(Layout));
      if (error == 0) error = prepare(layout);
      if (error < 0) return error;
    }
    // Changing the mode is not atomic: another process may lock the file in between and prepare it
    // too, which does no harm as this one has not used it yet.
    if (const int error = lockFile(file, LOCK_SH); error < 0) return error;
    if (layout.magic == kMagic) return 0;
  }
  return -EAGAIN;
}

}  // namespace

std::unique_ptr<SharedRegion> SharedRegion::open(FileApi& files, const std::string& path,
                                                 int& error, std::int64_t longestWait) {
  OpenFile file(files, openInFolder(files, path, O_RDWR | O_CREAT));
  error = file.isOpen() ? 0 : -file.get();
  if (error != 0) return nullptr;
  error = -makeRoom(files, file.get(), sizeof(Layout));
  if (error != 0) return nullptr;
  void* memory = ::mmap(nullptr, sizeof(Layout), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  error = memory == MAP_FAILED ? errno : 0;
  if (error != 0) return nullptr;
  auto* layout = static_cast<Layout*>(memory);
  error = -enter(file.get(), *layout);
  if (error != 0) {
    ::munmap(memory, sizeof(Layout));
    return nullptr;
  }
  return std::unique_ptr<SharedRegion>(
      new SharedRegion(files, std::move(file), layout, longestWait));
}

SharedRegion::SharedRegion(FileApi& files, OpenFile file, Layout* layout, std::int64_t longestWait)
    : files_(files), file_(std::move(file)), layout_(layout), longestWait_(longestWait) {}

SharedRegion::~SharedRegion() { ::munmap(layout_, sizeof(Layout)); }

// Tries without a time limit first, so that the usual case reads no clock, and several times: most
// owners have the lock for a part of a microsecond, and to sleep and be woken takes many of them.
SharedRegion::Lock SharedRegion::lock() {
  for (int attempt = 0; attempt < kAttemptsBeforeSleep; ++attempt) {
    switch (pthread_mutex_trylock(&layout_->mutex)) {
      case 0:
        return Lock::kHeld;
      case EOWNERDEAD:
        pthread_mutex_consistent(&layout_->mutex);
        return Lock::kHeldAfterDeath;
      case EBUSY:
        if (waitedInVain_) return Lock::kFailed;
        pauseBriefly();
        break;
      default:
        return Lock::kFailed;
    }
  }
  return waitForLock();
}

SharedRegion::Lock SharedRegion::waitForLock() {
  // The monotonic clock, because setting the time of day must not prolong the wait.
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  const std::int64_t end = until.tv_nsec + longestWait_;
  until.tv_sec += end / kSecond;
  until.tv_nsec = end % kSecond;
  switch (pthread_mutex_clocklock(&layout_->mutex, CLOCK_MONOTONIC, &until)) {
    case 0:
      return Lock::kHeld;
    case EOWNERDEAD:
      pthread_mutex_consistent(&layout_->mutex);
      return Lock::kHeldAfterDeath;
    default:
      waitedInVain_ = true;
      return Lock::kFailed;
  }
}

void SharedRegion::unlock() {
  waitedInVain_.store(false, std::memory_order_relaxed);
  pthread_mutex_unlock(&layout_->mutex);
}

bool SharedRegion::isFileAt(const std::string& path) const {
  FileInfo mine;
  FileInfo there;
  return files_.info(file_.get(), mine) == 0 && files_.info(path, there) == 0 &&
         mine.sameFile(there);
}

}  // namespace qx::logger
