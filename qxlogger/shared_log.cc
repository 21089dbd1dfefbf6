#include "qxlogger/shared_log.h"

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "qxlogger/record.h"
#include "qxlogger/shared_region.h"

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

// Records that follow each other within this time, in nanoseconds, belong to a flood.
constexpr std::int64_t kFloodGap = 5'000;
// A flood is written in pieces of about this many bytes. Larger ones would be little faster, and
// after a kill more of the last records would be missing from the file until the next process
// writes.
constexpr std::uint32_t kPieceSize = 16 * 1024;
constexpr std::int64_t kVerifyInterval = 500 * kNanosecondsPerMillisecond;
// A file may grow beyond its limit by this many bytes if it cannot be rotated.
constexpr std::int64_t kOvergrowth = 64 * 1024;
// Surplus files are removed up to this number, which is far more than the settings allow.
constexpr long kMostRemoved = 100;

std::uint32_t pendingSize(const SharedState& state) { return state.end - state.start; }

std::int64_t sizeWithPending(const SharedState& state) {
  return state.fileSize + pendingSize(state);
}

// Room in the buffer is reused only when it is empty, so that pending bytes never move: a copy
// could be interrupted by a kill.
void consume(SharedState& state, std::int64_t size) {
  state.start += static_cast<std::uint32_t>(size);
  if (state.start == state.end) state.start = state.end = 0;
}

// A record may be a little older than the last one, because its time is taken before the lock. One
// that is older by a second or more comes after the clock was set back, which is no flood.
bool isFlood(std::int64_t time, std::int64_t last) {
  return time - last < kFloodGap && last - time < kNanosecondsPerSecond;
}

// Holds the region's lock. If another holder has died, the log file may be ahead of the state.
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

// This process's access to the shared memory, and to the current file of one generation. The lock
// of the region guards the fields from `file` on.
struct SharedLog::Attachment {
  std::unique_ptr<SharedRegion> region;
  Attachment* previous = nullptr;
  OpenFile file{};
  int error = 0;  // `errno` of the last failure
  std::uint64_t generation = 0;
  std::int64_t verified = 0;
  std::int64_t rotationFailed = 0;  // the time of the last failure
  std::int64_t unrotatedSize = -1;  // of the file at that time
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

// The number in the ending is the version of the shared memory's layout.
std::string SharedLog::regionPath() const { return fmt::format("{}/.{}.sync1", folder_, name_); }

Appended SharedLog::append(const LogLine& line, const LogLimits& limits) {
  // The second attempt follows if the file of the shared memory was removed meanwhile.
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
    // Without this test a process that ends would create the file anew that its user has removed.
    if (pendingSize(a->region->state()) == 0) return true;
    const bool stays = makeReady(*a, clock_.wallNanoseconds());
    const bool written = writePending(*a);
    if (stays) return written;
  }
  detach(a);
  return true;
}

// Takes no lock: if several threads open the shared memory at once, one attachment is kept.
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

// Another thread may still use the attachment, so it is kept until the log is destroyed.
void SharedLog::detach(Attachment* attachment) {
  Attachment* expected = attachment;
  if (!current_.compare_exchange_strong(expected, nullptr)) return;
  attachment->previous = retired_.load();
  while (!retired_.compare_exchange_weak(attachment->previous, attachment)) {
  }
}

// Counts in this process only; noteDropped() reports the number later.
Appended SharedLog::dropHere(int error) {
  if (droppedHere_.fetch_add(1) == 0) dropErrorHere_ = error;
  tellFailure(error);
  return Appended::kDropped;
}

// Once only. The record that reports the number of lost ones comes when the log works again, which
// may be never.
void SharedLog::tellFailure(int error) {
  if (told_.test_and_set()) return;
  developerTrace(toUtf16(fmt::format("log: {} cannot be written ({})\n", path(0),
                                     std::generic_category().message(error))));
}

// Returns false if other processes no longer find this shared memory, because its file was removed.
bool SharedLog::makeReady(Attachment& a, std::int64_t now) {
  // Recovery comes first, because it opens the file and begins a new generation.
  if (a.region->needsRecovery()) recover(a);
  if (!a.file.isOpen() || a.generation != a.region->state().generation) reopen(a);
  // A negative age means that the clock was set back; then it is verified at once.
  const std::int64_t age = now - a.verified;
  if (age >= 0 && age < kVerifyInterval) return true;
  a.verified = now;
  return verify(a);
}

// With O_APPEND, as every process writes at the end, wherever that is now.
bool SharedLog::reopen(Attachment& a) {
  a.file = OpenFile(files_, openInFolder(files_, path(0), O_RDWR | O_APPEND | O_CREAT));
  a.generation = a.region->state().generation;
  if (!a.file.isOpen()) a.error = -a.file.get();
  return a.file.isOpen();
}

// After a crash: finds the pending bytes that are in the file already, and ends a line that no
// pending bytes complete. It may be interrupted at any point and is then repeated as a whole.
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
  // closeTail() may have written, so the size is read again.
  if (!closeTail(a, info.size, next.start) || files_.info(a.file.get(), info) < 0) return false;
  next.fileSize = info.size;
  a.generation = ++next.generation;
  a.region->commit(next);
  a.region->setNeedsRecovery(false);
  return true;
}

// Writes a line end after a torn line, unless the pending bytes from `start` on are its rest.
bool SharedLog::closeTail(Attachment& a, std::int64_t size, std::uint32_t start) {
  char last = '\n';
  if (size > 0 && files_.readAt(a.file.get(), &last, 1, size - 1) != 1) return false;
  const bool goesOn = start > 0 && a.region->pending()[start - 1] != '\n';
  if (last == '\n' || goesOn) return true;
  const int error = writeAll(files_, a.file.get(), "\n", 1);
  a.error = -error;
  return error == 0;
}

// Users remove, move and empty log files while they are written. A shared memory whose file was
// removed is abandoned after its pending records are written.
bool SharedLog::verify(Attachment& a) {
  FileInfo mine;
  FileInfo there;
  if (!a.file.isOpen() || files_.info(a.file.get(), mine) < 0) return true;
  SharedState next = a.region->state();
  if (files_.info(path(0), there) < 0 || !there.sameFile(mine)) {
    if (!reopen(a) || files_.info(a.file.get(), mine) < 0) return true;
    // The new generation makes the other processes reopen the file too.
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
  // Into the shared memory first, even if it is written at once: a kill must not lose it.
  put(a, line.text, line.time);
  if (flood && pendingSize(a.region->state()) < kPieceSize) return Appended::kPending;
  const bool written = writePending(a);
  // The time after the write, not before: otherwise a slow disk would make every flood look sparse.
  SharedState next = a.region->state();
  next.lastRecord = clock_.wallNanoseconds();
  a.region->commit(next);
  return written ? Appended::kWritten : Appended::kPending;
}

// Makes room in the file, by rotation, and in the shared memory, by writing it out. Returns false
// if there is none. An empty file takes a record of any size.
bool SharedLog::makeRoom(Attachment& a, const LogLine& line, const LogLimits& limits) {
  const auto size = static_cast<std::int64_t>(line.text.size());
  const auto isFull = [&] {
    const SharedState& state = a.region->state();
    const std::int64_t used = sizeWithPending(state);
    return used > 0 && used + size > std::max(limits.fileBytes, state.rotateAt);
  };
  // Pending records belong to the file that they counted for, so they precede the rotation.
  if (isFull() && writePending(a) && mayRotate(a, line.time)) rotate(a, line.time, limits);
  if (isFull() && pendingSize(a.region->state()) == 0) {
    noteUnrotated(a, line);
    return false;
  }
  if ((a.region->state().dropped > 0 || droppedHere_ > 0) && !noteDropped(a, line)) return false;
  if (a.region->state().end + size <= SharedRegion::kPendingCapacity) return true;
  return writePending(a);
}

// The bytes are copied before the state that covers them is committed.
void SharedLog::put(Attachment& a, std::string_view text, std::int64_t time) {
  SharedState next = a.region->state();
  std::memcpy(a.region->pending() + next.end, text.data(), text.size());
  next.end += static_cast<std::uint32_t>(text.size());
  next.lastRecord = time;
  a.region->commit(next);
}

bool SharedLog::writePending(Attachment& a) {
  while (pendingSize(a.region->state()) > 0) {
    if (!a.file.isOpen() || a.region->needsRecovery()) {
      tellFailure(a.error);
      return false;
    }
    SharedState next = a.region->state();
    const std::int64_t taken =
        files_.write(a.file.get(), a.region->pending() + next.start, pendingSize(next));
    if (taken == -EINTR) continue;
    if (taken <= 0) {
      a.error = taken == 0 ? EIO : static_cast<int>(-taken);
      tellFailure(a.error);
      return false;
    }
    next.fileSize += taken;
    consume(next, taken);
    a.region->commit(next);
  }
  return true;
}

// Writes a record that does not fit into the shared memory. Nothing is pending. If it fails, the
// part that was written is cut off, and if even that fails, recovery ends its line.
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

// Puts a record of the log itself after the pending ones. The caller has made room for it.
void SharedLog::putOwn(Attachment& a, const LogLine& line, const std::string& message) {
  const std::u16string text = toUtf16(message);
  const Record record{.time = line.time,
                      .level = kWarning,
                      .appId = 0,
                      .processId = line.processId,
                      .function = kOwnName,
                      .message = text};
  put(a, formatRecord(record), line.time);
}

bool SharedLog::noteDropped(Attachment& a, const LogLine& line) {
  if (!writePending(a)) return false;
  SharedState next = a.region->state();
  const std::uint64_t count = next.dropped + droppedHere_.exchange(0);
  const int error = next.dropError != 0 ? next.dropError : dropErrorHere_.load();
  putOwn(a, line,
         fmt::format("Records dropped: {} ({})", count, std::generic_category().message(error)));
  // After the record: a kill in between has the number reported twice rather than never.
  next = a.region->state();
  next.dropped = 0;
  next.dropError = 0;
  a.region->commit(next);
  return true;
}

// The last record of a file that can neither grow nor be rotated says why it is the last one.
// Nothing is pending.
void SharedLog::noteUnrotated(Attachment& a, const LogLine& line) {
  if (a.region->state().dropped > 0) return;
  const int error = a.error;
  putOwn(a, line,
         fmt::format("Records are dropped until the log files can be rotated ({})",
                     std::generic_category().message(error)));
  writePending(a);
  a.error = error;
}

Appended SharedLog::drop(Attachment& a) {
  SharedState next = a.region->state();
  if (next.dropped++ == 0) next.dropError = a.error;
  a.region->commit(next);
  tellFailure(a.error);
  return Appended::kDropped;
}

// A rotation that fails is repeated when the file has grown, or else as often as verify() runs: it
// takes many system calls.
bool SharedLog::mayRotate(const Attachment& a, std::int64_t now) const {
  const std::int64_t age = now - a.rotationFailed;
  return a.unrotatedSize != a.region->state().fileSize || age < 0 || age >= kVerifyInterval;
}

// Makes the current file number 1. Nothing is pending. A crash before the commit leaves the other
// processes with number 1 as their open file until the next owner of the lock has recovered.
void SharedLog::rotate(Attachment& a, std::int64_t now, const LogLimits& limits) {
  SharedState next = a.region->state();
  if (const int error = shiftFiles(limits.fileCount); error < 0) {
    a.error = -error;
    a.rotationFailed = now;
    a.unrotatedSize = next.fileSize;
    next.rotateAt = limits.fileBytes + kOvergrowth;
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

// Shifts the files up to the first free number only. So a shift that was interrupted leaves a gap,
// and its repetition fills the gap instead of overwriting a file. The oldest file is shifted out of
// the kept ones and then removed: if a rename replaced it, the file system would begin to write the
// renamed file to the disk, which takes longer than all else here.
int SharedLog::shiftFiles(long fileCount) {
  long target = 1;
  FileInfo info;
  while (target < fileCount && files_.info(path(target), info) == 0) ++target;
  int error = 0;
  if (fileCount == 1) error = files_.remove(path(0));
  for (; fileCount > 1 && target > 0 && error == 0; --target) {
    error = files_.rename(path(target - 1), path(target));
  }
  if (error < 0) return error;
  // The rest goes too, if fewer files are kept than before.
  for (long i = fileCount; i < kMostRemoved && files_.remove(path(i)) == 0; ++i) {
  }
  return 0;
}

}  // namespace qx::logger
