#pragma once

#include <string>
#include <string_view>

namespace qx::logger {

inline constexpr long kLeastFileCount = 1;
inline constexpr long kMostFileCount = 10;
inline constexpr long kLeastFileSize = 1;
inline constexpr long kMostFileSize = 1'000'000;  // a terabyte, so that bytes stay in range

/// What is recorded, and how much of it is kept.
struct LogSettings {
  long fileCount = 2;       ///< files per module, the current one included
  long fileSize = 1;        ///< greatest size of one file, in megabytes of 2^20 bytes
  long level = 1;           ///< the least severe level that is recorded
  std::u16string module{};  ///< the only module that is recorded; empty for all

  /// Whether a record of `module` at `level` is to be written. The filter is compared without
  /// regard to case; one of 10 characters, at which the settings form cuts it, matches all longer
  /// names that begin with it.
  bool admits(long recordLevel, std::u16string_view recordModule) const {
    return recordLevel <= level && (module.empty() || matchesModule(recordModule));
  }

  friend bool operator==(const LogSettings&, const LogSettings&) = default;

 private:
  bool matchesModule(std::u16string_view recordModule) const;
};

/// The settings with each value moved into its range: a file count below 1 is 2 and one above 10
/// is 10, a size below 1 is 1, a level below 1 is 1 and one above 6 is 6.
LogSettings withinLimits(LogSettings settings);

}  // namespace qx::logger
