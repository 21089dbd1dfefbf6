#pragma once

// The lines of a log file.

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// The severities. Frozen: callers in other libraries and the settings file use the numbers.
inline constexpr long kError = 1;
inline constexpr long kWarning = 2;
inline constexpr long kDebug2 = 6;

/// Returns "Error", "Warning", "Information", "Debug", "Debug1" or "Debug2"; an empty text for any
/// other level.
std::string_view severityWord(long level);

/// The content of one line of a log file.
struct Record {
  std::int64_t time = 0;  ///< nanoseconds since 1970-01-01 UTC
  long level = kError;
  long appId = 0;
  long processId = 0;
  std::u16string_view function;
  std::u16string_view message;
};

/// Returns the line of a record, always exactly one, with its line end. It has six fields separated
/// by tabs: local time with microseconds and offset from UTC, severity, application id, process id,
/// function, message.
std::string formatRecord(const Record& record);

}  // namespace qx::logger
