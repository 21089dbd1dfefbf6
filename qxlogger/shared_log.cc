#include "qxlogger/shared_log.h"

#include "qxlogger/record.h"
#include "qxlogger/shared_region.h"
#include "qxlogger/text.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace qx::logger {
namespace {

// Records that are closer than this belong to a flood.
constexpr std::int64_t kFloodGap = 5'000;
// A flood is written in pieces of about this size; larger ones gain next to nothing.
constexpr std::uint32_t kPieceSize = 8 * 1024;
constexpr std::int64_t kVerifyInterval = 500 * kNanosecondsPerMillisecond;
// How far a file grows beyond its size until a failed rotation is tried again.
constexpr std::int64_t kRotationRetry = 64 * 1024;
constexpr long kMostRemoved = 100;

std::uint32_t pendingSize(const SharedState& state) { return state.end - state.start; }

std::int64_t sizeWithPending(const SharedState& state) {
  return state.fileSize + pendingSize(state);
}

void consume(SharedState& state, std::int64_t size) {
  state.start += static_cast<std::uint32_t>(size);
  if (state.start == state.end) state.start = state.end = 0;
}

// A clock that was set back by more than a second is no sign of a flood.
bool isFlood(std::int64_t time, std::int64_t last) {
  return time - last < kFloodGap && last - time < kNanosecondsPerSecond;
}

class Holder {
 public:
  explicit Holder(SharedRegion& region) : region_(region), lock_(region.lock()) {
    if (lock_ == SharedRegion::Lock::kHeldAfterDeath) region_.setNeedsRecovery(true);
  }
  ~Holder() {
    if (held()) region_.unlock();
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  bool held() const { return lock_ != SharedRegion::Lock::kFailed; }

 private:
  SharedRegion& region_;
  SharedRegion::Lock lock_;
};

}  // namespace

// This process's access to the shared memory, and to the current file as of one generation. The
// fields below the region are guarded by its lock.
struct SharedLog::Attachment {
  std::unique_ptr<SharedRegion> region;
  Attachment* previous = nullptr;
  OpenFile file{};
  int error = 0;  // `errno` of the last failure
  std::uint64_t generation = 0;
  std::int64_t verified = 0;
};

SharedLog::SharedLog(FileApi& files, LogClock& clock, std::string folder, std::string name,
                     std::int64_t longestWait)
    : files_(files),
      clock_(clock),
      folder_(std::move(folder)),
      name_(std::move(name)),
      longestWait_(longestWait) {}

SharedLog::~SharedLog() {
  if (Attachment* present = current_.load()) detach(present);
  Attachment* next = retired_.load();
  while (next != nullptr) {
    const std::unique_ptr<Attachment> last(next);
    next = last->previous;
  }
}

std::string SharedLog::path(long number) const {
  return number == 0 ? fmt::format("{}/{}.log", folder_, name_)
                     : fmt::format("{}/{}.{}.log", folder_, name_, number);
}

// The number is that of the layout of the shared memory.
std::string SharedLog::regionPath() const { return fmt::format("{}/.{}.sync1", folder_, name_); }

Appended SharedLog::append(const LogLine& line, const LogLimits& limits) {
  // The second attempt is for a shared file that somebody has removed.
  for (int attempt = 0; attempt < 2; ++attempt) {
    Attachment* a = attach();
    if (a == nullptr) return Appended::kDropped;
    {
      const Holder holder(*a->region);
      if (!holder.held()) return dropHere(EBUSY);
      if (makeReady(*a, line.time)) return store(*a, line, limits);
    }
    detach(a);
  }
  return dropHere(ENOENT);
}

bool SharedLog::flush() {
  Attachment* a = current_.load(std::memory_order_acquire);
  if (a == nullptr) return true;
  {
    const Holder holder(*a->region);
    if (!holder.held()) return false;
    const bool stays = makeReady(*a, clock_.wallNanoseconds());
    const bool written = writePending(*a);
    if (stays) return written;
  }
  detach(a);
  return true;
}

// Without a lock: of several threads that open the shared memory at once, one wins.
SharedLog::Attachment* SharedLog::attach() {
  Attachment* present = current_.load(std::memory_order_acquire);
  if (present != nullptr) return present;
  int error = folder_.empty() ? ENOENT : 0;
  auto region =
      error == 0 ? SharedRegion::open(files_, regionPath(), error, longestWait_) : nullptr;
  if (region == nullptr) {
    dropHere(error);
    return nullptr;
  }
  auto fresh = std::make_unique<Attachment>();
  fresh->region = std::move(region);
  if (!current_.compare_exchange_strong(present, fresh.get())) return present;
  return fresh.release();
}

// Another thread may still use what is detached, so it lives on.
void SharedLog::detach(Attachment* attachment) {
  Attachment* expected = attachment;
  if (!current_.compare_exchange_strong(expected, nullptr)) return;
  attachment->previous = retired_.load();
  while (!retired_.compare_exchange_weak(attachment->previous, attachment)) {
  }
}

Appended SharedLog::dropHere(int error) {
  if (droppedHere_.fetch_add(1) == 0) dropErrorHere_ = error;
  return Appended::kDropped;
}

// False if the shared memory is no longer the one that others find.
bool SharedLog::makeReady(Attachment& a, std::int64_t now) {
  if (a.region->needsRecovery()) recover(a);
  if (!a.file.isOpen() || a.generation != a.region->state().generation) reopen(a);
  const std::int64_t age = now - a.verified;
  if (age >= 0 && age < kVerifyInterval) return true;
  a.verified = now;
  return verify(a);
}

bool SharedLog::reopen(Attachment& a) {
  a.file = OpenFile(files_, openInFolder(files_, path(0), O_RDWR | O_APPEND | O_CREAT));
  a.generation = a.region->state().generation;
  if (!a.file.isOpen()) a.error = -a.file.get();
  return a.file.isOpen();
}

// After a crash: finds out which of the pending bytes stand in the file already, and ends a line
// that nobody will complete. Can be broken off and repeated at every point.
bool SharedLog::recover(Attachment& a) {
  FileInfo info;
  if (!reopen(a) || files_.info(a.file.get(), info) < 0) return false;
  SharedState next = a.region->state();
  const std::int64_t common = std::min<std::int64_t>(info.size - next.fileSize, pendingSize(next));
  if (common > 0) {
    std::vector<char> there(static_cast<std::size_t>(common));
    const auto read = files_.readAt(a.file.get(), there.data(), there.size(), next.fileSize);
    const char* pending = a.region->pending() + next.start;
    if (read == common && std::equal(there.begin(), there.end(), pending)) consume(next, common);
  }
  if (!closeTail(a, info.size, next.start) || files_.info(a.file.get(), info) < 0) return false;
  next.fileSize = info.size;
  a.generation = ++next.generation;
  a.region->commit(next);
  a.region->setNeedsRecovery(false);
  return true;
}

bool SharedLog::closeTail(Attachment& a, std::int64_t size, std::uint32_t start) {
  char last = '\n';
  if (size > 0 && files_.readAt(a.file.get(), &last, 1, size - 1) != 1) return false;
  const bool goesOn = start > 0 && a.region->pending()[start - 1] != '\n';
  if (last == '\n' || goesOn) return true;
  const int error = writeAll(files_, a.file.get(), "\n", 1);
  a.error = -error;
  return error == 0;
}

// People remove, move and empty log files. A shared memory that was removed is given up.
bool SharedLog::verify(Attachment& a) {
  FileInfo mine;
  FileInfo there;
  if (!a.file.isOpen() || files_.info(a.file.get(), mine) < 0) return true;
  SharedState next = a.region->state();
  if (files_.info(path(0), there) < 0 || !there.sameFile(mine)) {
    if (!reopen(a) || files_.info(a.file.get(), mine) < 0) return true;
    a.generation = ++next.generation;
    next.rotateAt = 0;
  }
  next.fileSize = mine.size;
  a.region->commit(next);
  if (a.region->isFileAt(regionPath())) return true;
  return !writePending(a);
}

Appended SharedLog::store(Attachment& a, const LogLine& line, const LogLimits& limits) {
  if (!makeRoom(a, line, limits)) return drop(a);
  if (line.text.size() > SharedRegion::kPendingCapacity) return writeLong(a, line.text);
  const bool flood = line.mayWait && isFlood(line.time, a.region->state().lastRecord);
  put(a, line.text, line.time);
  if (flood && pendingSize(a.region->state()) < kPieceSize) return Appended::kPending;
  const bool written = writePending(a);
  SharedState next = a.region->state();
  next.lastRecord = clock_.wallNanoseconds();
  a.region->commit(next);
  return written ? Appended::kWritten : Appended::kPending;
}

// Room in the file, by rotation, and in the shared memory, by writing it out. False for none.
bool SharedLog::makeRoom(Attachment& a, const LogLine& line, const LogLimits& limits) {
  const auto size = static_cast<std::int64_t>(line.text.size());
  const auto isFull = [&] {
    const SharedState& state = a.region->state();
    const std::int64_t used = sizeWithPending(state);
    return used > 0 && used + size > std::max(limits.fileBytes, state.rotateAt);
  };
  if (isFull() && writePending(a)) rotate(a, limits.fileCount);
  if ((a.region->state().dropped > 0 || droppedHere_ > 0) && !noteDropped(a, line)) return false;
  if (a.region->state().end + size <= SharedRegion::kPendingCapacity) return true;
  return writePending(a);
}

void SharedLog::put(Attachment& a, std::string_view text, std::int64_t time) {
  SharedState next = a.region->state();
  std::memcpy(a.region->pending() + next.end, text.data(), text.size());
  next.end += static_cast<std::uint32_t>(text.size());
  next.lastRecord = time;
  a.region->commit(next);
}

bool SharedLog::writePending(Attachment& a) {
  while (pendingSize(a.region->state()) > 0) {
    if (!a.file.isOpen() || a.region->needsRecovery()) return false;
    SharedState next = a.region->state();
    const std::int64_t taken =
        files_.write(a.file.get(), a.region->pending() + next.start, pendingSize(next));
    if (taken == -EINTR) continue;
    if (taken <= 0) {
      a.error = taken == 0 ? EIO : static_cast<int>(-taken);
      return false;
    }
    next.fileSize += taken;
    consume(next, taken);
    a.region->commit(next);
  }
  return true;
}

// A record that does not fit into the shared memory. Nothing is pending.
Appended SharedLog::writeLong(Attachment& a, std::string_view text) {
  if (!a.file.isOpen() || a.region->needsRecovery()) return drop(a);
  SharedState next = a.region->state();
  const int error = writeAll(files_, a.file.get(), text.data(), text.size());
  if (error < 0) {
    a.error = -error;
    if (files_.truncate(a.file.get(), next.fileSize) < 0) a.region->setNeedsRecovery(true);
    return drop(a);
  }
  next.fileSize += static_cast<std::int64_t>(text.size());
  next.lastRecord = clock_.wallNanoseconds();
  a.region->commit(next);
  return Appended::kWritten;
}

bool SharedLog::noteDropped(Attachment& a, const LogLine& line) {
  if (!writePending(a)) return false;
  SharedState next = a.region->state();
  const std::uint64_t count = next.dropped + droppedHere_.exchange(0);
  const int error = next.dropError != 0 ? next.dropError : dropErrorHere_.load();
  const std::u16string message = toUtf16(
      fmt::format("Records dropped: {} ({})", count, std::generic_category().message(error)));
  const Record record{.time = line.time,
                      .level = kWarning,
                      .appId = 0,
                      .processId = line.processId,
                      .function = kOwnName,
                      .message = message};
  put(a, formatRecord(record), line.time);
  next = a.region->state();
  next.dropped = 0;
  next.dropError = 0;
  a.region->commit(next);
  return true;
}

Appended SharedLog::drop(Attachment& a) {
  SharedState next = a.region->state();
  if (next.dropped++ == 0) next.dropError = a.error;
  a.region->commit(next);
  return Appended::kDropped;
}

// The current file becomes number 1. Nothing is pending. A crash before the commit leaves the
// others writing into number 1 until the next owner of the lock has recovered.
void SharedLog::rotate(Attachment& a, long fileCount) {
  SharedState next = a.region->state();
  if (const int error = shiftFiles(fileCount); error < 0) {
    a.error = -error;
    next.rotateAt = next.fileSize + kRotationRetry;
    a.region->commit(next);
    return;
  }
  FileInfo info;
  const bool opened = reopen(a) && files_.info(a.file.get(), info) == 0;
  next.fileSize = opened ? info.size : 0;
  next.rotateAt = 0;
  a.generation = ++next.generation;
  a.region->commit(next);
}

// Shifts only up to the first free number, so that a shift that was broken off loses no file.
int SharedLog::shiftFiles(long fileCount) {
  long target = 1;
  FileInfo info;
  while (target < fileCount - 1 && files_.info(path(target), info) == 0) ++target;
  int error = 0;
  if (fileCount == 1) error = files_.remove(path(0));
  for (; fileCount > 1 && target > 0 && error == 0; --target) {
    error = files_.rename(path(target - 1), path(target));
  }
  const auto removeFrom = std::max(fileCount, 1L);
  for (long i = removeFrom; i < kMostRemoved && files_.remove(path(i)) == 0; ++i) {
  }
  return error;
}

}  // namespace qx::logger
