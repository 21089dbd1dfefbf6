#pragma once

// The core of the logging component: one log per process.

#include "qxlogger/idle_flusher.h"
#include "qxlogger/record.h"
#include "qxlogger/settings_monitor.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// The results of LogService::write(). None of them is an error of the caller.
inline constexpr long kRecorded = 0;     ///< recorded, or excluded by the settings
inline constexpr long kNotRecorded = 1;  ///< dropped, or of a level that does not exist

/// The log of this process: its settings and a file set per module.
///
/// A process has one, created at first use and never destroyed, so that destructors of statics can
/// still log. The objects that function scopes create only forward to it. Level and module are
/// tested before all other work. The class takes no lock of its own, so a forked child can log.
class LogService {
 public:
  struct Places {
    std::string settings;  ///< path of the settings file
    std::string logs;      ///< folder of the log files
  };

  /// For tests. `files` and `clock` must outlive the service.
  LogService(FileApi& files, LogClock& clock, Places places);
  ~LogService();
  LogService(const LogService&) = delete;
  LogService& operator=(const LogService&) = delete;

  /// Returns the service of this process.
  static LogService& instance() {
    LogService* const service = ofProcess_.load(std::memory_order_acquire);
    return service != nullptr ? *service : makeForProcess();
  }

  /// Returns the settings in force if they admit a record of this level and module, else null.
  /// Nothing of a record is formatted or converted before this test: most records end here.
  const LogSettings* settingsFor(long level, std::u16string_view module) noexcept {
    const LogSettings& settings = monitor_.current();
    return level >= kError && settings.admits(level, module) ? &settings : nullptr;
  }
  /// Records `message` as `settings` say. Returns kRecorded or kNotRecorded.
  long record(const LogSettings& settings, long appId, std::u16string_view module, long level,
              std::u16string_view function, std::u16string_view message) noexcept;

  /// Records `message` unless the settings exclude it. Returns kRecorded or kNotRecorded.
  long write(long appId, std::u16string_view module, long level, std::u16string_view function,
             std::u16string_view message) noexcept {
    const LogSettings* settings = settingsFor(level, module);
    if (settings == nullptr) return resultOfExcluded(level);
    return record(*settings, appId, module, level, function, message);
  }
  /// Returns the result for a record that settingsFor() excludes.
  static long resultOfExcluded(long level) {
    return level < kError || level > kDebug2 ? kNotRecorded : kRecorded;
  }

  LogSettings settings() { return monitor_.current(); }
  /// Stores new settings, which this process honours at once.
  StoreResult store(const LogSettings& settings) { return monitor_.store(settings); }

  /// Writes out all pending records.
  void flush() noexcept;

 private:
  struct Module;

  static LogService& makeForProcess();
  Module& find(std::u16string_view name);
  static void prepareForkAndExit();

  // For instance(), and for the handlers of fork and exit, which take no arguments.
  static inline std::atomic<LogService*> ofProcess_{nullptr};

  FileApi& files_;
  LogClock& clock_;
  const Places places_;
  SettingsMonitor monitor_;
  std::atomic<Module*> modules_{nullptr};  // the head of a list that only grows there
  std::atomic<bool> ending_{false};
  IdleFlusher flusher_;
};

}  // namespace qx::logger
