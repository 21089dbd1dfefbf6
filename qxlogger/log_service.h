#pragma once

#include "qxlogger/idle_flusher.h"
#include "qxlogger/settings_monitor.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// What a write has come to. None of them is a failure of the caller.
inline constexpr long kRecorded = 0;     ///< recorded, or not wanted by the settings
inline constexpr long kNotRecorded = 1;  ///< dropped, or of a level that does not exist

/// The log of this process: its settings and a file set per module.
///
/// There is one for the process, made at first use and never destroyed, so that whatever runs last
/// can still log. An object per function scope is only a door to it. The tests of level and module
/// come before all other work; nothing here takes a lock of its own, so a forked child can log.
class LogService {
 public:
  struct Places {
    std::string settings;  ///< path of the settings file
    std::string logs;      ///< folder of the log files
  };

  LogService(FileApi& files, LogClock& clock, Places places);
  ~LogService();
  LogService(const LogService&) = delete;
  LogService& operator=(const LogService&) = delete;

  static LogService& instance();

  /// Never throws and never fails.
  long write(long appId, std::u16string_view module, long level, std::u16string_view function,
             std::u16string_view message) noexcept;

  LogSettings settings() { return monitor_.current(); }
  StoreResult store(const LogSettings& settings) { return monitor_.store(settings); }

  /// Writes out what is pending.
  void flush();

 private:
  struct Module;

  long record(const LogSettings& settings, long appId, std::u16string_view module, long level,
              std::u16string_view function, std::u16string_view message);
  Module& find(std::u16string_view name);
  static void prepareForkAndExit();

  FileApi& files_;
  LogClock& clock_;
  const Places places_;
  SettingsMonitor monitor_;
  std::atomic<Module*> modules_{nullptr};  // a list that only grows, at its head
  std::atomic<bool> ending_{false};
  IdleFlusher flusher_;
};

}  // namespace qx::logger
