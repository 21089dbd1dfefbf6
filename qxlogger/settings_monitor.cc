#include "qxlogger/settings_monitor.h"

#include <utility>

namespace qx::logger {
namespace {

constexpr std::int64_t kCheckInterval = 500 * kNanosecondsPerMillisecond;

}  // namespace

SettingsMonitor::SettingsMonitor(FileApi& files, LogClock& clock, std::string path)
    : files_(files),
      clock_(clock),
      path_(std::move(path)),
      nextCheck_(clock.coarseNanoseconds() + kCheckInterval),
      snapshot_(nullptr) {
  const FileInfo file = look();
  snapshot_ = new Snapshot{loadSettings(files_, path_), file, nullptr};
}

SettingsMonitor::~SettingsMonitor() {
  const Snapshot* next = snapshot_;
  while (next != nullptr) {
    const std::unique_ptr<const Snapshot> last(next);
    next = last->previous;
  }
}

StoreResult SettingsMonitor::store(const LogSettings& settings) {
  StoreResult result = storeSettings(files_, path_, settings);
  refresh();
  return result;
}

void SettingsMonitor::check(std::int64_t now) noexcept try {
  std::int64_t due = nextCheck_.load(std::memory_order_relaxed);
  if (now < due) return;
  // Of several threads that are due, the one that moves the time looks at the file.
  if (nextCheck_.compare_exchange_strong(due, now + kCheckInterval)) refresh();
} catch (...) {
  // Out of memory: the settings remain as they are until the next check.
}

void SettingsMonitor::refresh() {
  const Snapshot* present = snapshot_.load(std::memory_order_acquire);
  // The state is taken before the content: a change between the two then shows at the next check.
  const FileInfo file = look();
  if (file == present->file) return;
  auto next = std::make_unique<Snapshot>(Snapshot{loadSettings(files_, path_), file, present});
  if (snapshot_.compare_exchange_strong(present, next.get(), std::memory_order_acq_rel)) {
    // The list of snapshots owns it from here on.
    static_cast<void>(next.release());
  }
}

// A missing file has a state of its own, all zeros, so that its removal shows as a change.
FileInfo SettingsMonitor::look() {
  FileInfo info;
  return files_.info(path_, info) == 0 ? info : FileInfo{};
}

}  // namespace qx::logger
