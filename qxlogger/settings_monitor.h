#pragma once

// The current settings for a process that logs.

#include "qxlogger/file_api.h"
#include "qxlogger/log_clock.h"
#include "qxlogger/log_settings.h"
#include "qxlogger/settings_file.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace qx::logger {

/// The settings in the file, at most half a second old.
///
/// current() reads the coarse clock; twice a second it also checks whether the file has changed,
/// and loads it if so. Threads never wait for each other here: each state of the file is a snapshot
/// that is never changed and that lives as long as the monitor, because another thread may still
/// read it. Settings are changed by people, so there are few snapshots.
class SettingsMonitor {
 public:
  /// Loads the file at `path`. `files` and `clock` must outlive the monitor.
  SettingsMonitor(FileApi& files, LogClock& clock, std::string path);
  ~SettingsMonitor();
  SettingsMonitor(const SettingsMonitor&) = delete;
  SettingsMonitor& operator=(const SettingsMonitor&) = delete;

  /// Returns the settings, which remain valid and unchanged as long as the monitor lives.
  const LogSettings& current() noexcept {
    const std::int64_t now = clock_.coarseNanoseconds();
    if (now >= nextCheck_.load(std::memory_order_relaxed)) check(now);
    return snapshot_.load(std::memory_order_acquire)->settings;
  }

  /// Stores new settings, which this process honours at once.
  StoreResult store(const LogSettings& settings);

 private:
  struct Snapshot {
    LogSettings settings;
    FileInfo file;
    const Snapshot* previous;
  };

  void check(std::int64_t now) noexcept;
  void refresh();
  FileInfo look();

  FileApi& files_;
  LogClock& clock_;
  const std::string path_;
  std::atomic<std::int64_t> nextCheck_;
  std::atomic<const Snapshot*> snapshot_;
};

}  // namespace qx::logger
