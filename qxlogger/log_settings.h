#pragma once

// The settings of the log, with their limits.

#include <string>
#include <string_view>

namespace qx::logger {

inline constexpr long kLeastFileCount = 1;
inline constexpr long kMostFileCount = 10;
inline constexpr long kLeastFileSize = 1;
inline constexpr long kMostFileSize = 1'000'000;  // a terabyte, so that bytes stay in range

/// The records to keep, and the number and size of the files that keep them.
struct LogSettings {
  long fileCount = 2;       ///< files per module, the current one included
  long fileSize = 1;        ///< greatest size of one file, in megabytes of 2^20 bytes
  long level = 1;           ///< the least severe level that is recorded
  std::u16string module{};  ///< the only module that is recorded; empty for all

  /// True if a record of this level and module is to be written. The filter is compared without
  /// case. A filter of 10 characters matches all longer names that begin with it, because the
  /// settings form cuts a name there.
  bool admits(long recordLevel, std::u16string_view recordModule) const {
    return recordLevel <= level && (module.empty() || matchesModule(recordModule));
  }

  friend bool operator==(const LogSettings&, const LogSettings&) = default;

 private:
  bool matchesModule(std::u16string_view recordModule) const;
};

/// Returns the settings with each value moved into its range: a file count below 1 becomes 2 and
/// one above 10 becomes 10, a size below 1 becomes 1, a level below 1 becomes 1 and one above 6
/// becomes 6.
LogSettings withinLimits(LogSettings settings);

}  // namespace qx::logger
