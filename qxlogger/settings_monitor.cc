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

void SettingsMonitor::check(std::int64_t now) {
  std::int64_t due = nextCheck_.load(std::memory_order_relaxed);
  if (now < due) return;
  if (nextCheck_.compare_exchange_strong(due, now + kCheckInterval)) refresh();
}

void SettingsMonitor::refresh() {
  const Snapshot* present = snapshot_.load(std::memory_order_acquire);
  // Looked at before it is read: a change in between shows as one more change next time.
  const FileInfo file = look();
  if (file == present->file) return;
  auto next = std::make_unique<Snapshot>(Snapshot{loadSettings(files_, path_), file, present});
  if (snapshot_.compare_exchange_strong(present, next.get(), std::memory_order_acq_rel)) {
    static_cast<void>(next.release());
  }
}

// A missing file is like one of no size at all.
FileInfo SettingsMonitor::look() {
  FileInfo info;
  return files_.info(path_, info) == 0 ? info : FileInfo{};
}

}  // namespace qx::logger
