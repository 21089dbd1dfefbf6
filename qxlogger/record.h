#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// The severities, frozen: callers in other libraries and the settings file use the numbers.
inline constexpr long kError = 1;
inline constexpr long kWarning = 2;
inline constexpr long kDebug2 = 6;

/// "Error", "Warning", "Information", "Debug", "Debug1" or "Debug2"; else empty.
std::string_view severityWord(long level);

/// What one line of a log file says.
struct Record {
  std::int64_t time = 0;  ///< nanoseconds since 1970-01-01 UTC
  long level = kError;
  long appId = 0;
  long processId = 0;
  std::u16string_view function;
  std::u16string_view message;
};

/// The line of a record, always exactly one and with its line end. Six fields with a tab between
/// them: local time with microseconds and offset from UTC, severity, application id, process id,
/// function, message.
std::string formatRecord(const Record& record);

}  // namespace qx::logger
