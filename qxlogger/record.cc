#include "qxlogger/record.h"

#include "qxlogger/log_clock.h"
#include "qxlogger/text.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <iterator>

namespace qx::logger {
namespace {

constexpr std::array<std::string_view, 6> kWords{"Error", "Warning", "Information",
                                                 "Debug", "Debug1",  "Debug2"};
// Room for all but the two texts: two numbers of up to 20 characters, and some 50 of fixed width.
constexpr std::size_t kHeadSize = 112;

// The parts of a time that are the same for a second, cached because localtime_r() takes a lock of
// the process. The type has no destructor, so a record that is written while its thread ends can
// still use the cache.
struct Second {
  std::int64_t second = -1;
  char date[20] = {};   // 2024-02-29T13:37:00
  char offset[8] = {};  // +02:00
};

void fill(Second& cache, std::int64_t second) {
  const auto time = static_cast<std::time_t>(second);
  std::tm local{};
  localtime_r(&time, &local);
  const long minutes = std::labs(local.tm_gmtoff) / 60;
  *fmt::format_to_n(cache.date, std::size(cache.date) - 1, "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}",
                    local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                    local.tm_min, local.tm_sec)
       .out = '\0';
  *fmt::format_to_n(cache.offset, std::size(cache.offset) - 1, "{}{:02}:{:02}",
                    local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60)
       .out = '\0';
  cache.second = second;
}

const Second& cachedSecond(std::int64_t second) {
  thread_local Second cache;
  if (cache.second != second) fill(cache, second);
  return cache;
}

}  // namespace

std::string_view severityWord(long level) {
  if (level < kError || level > kDebug2) return {};
  return kWords[static_cast<std::size_t>(level - 1)];
}

std::string formatRecord(const Record& record) {
  // Callers end their messages with a line end or not; the line itself has exactly one.
  const std::u16string_view message = withoutLineEnds(record.message);
  const Second& second = cachedSecond(record.time / kNanosecondsPerSecond);
  fmt::basic_memory_buffer<char, kHeadSize> head;
  fmt::format_to(fmt::appender(head), FMT_COMPILE("{}.{:06}{}\t{}\t{}\t{}\t"),
                 std::string_view(second.date), record.time % kNanosecondsPerSecond / 1000,
                 std::string_view(second.offset), severityWord(record.level), record.appId,
                 record.processId);
  std::string line;
  line.reserve(kHeadSize + record.function.size() + message.size());
  line.append(head.data(), head.size());
  appendEscaped(line, record.function);
  line += '\t';
  appendEscaped(line, message);
  line += '\n';
  return line;
}

}  // namespace qx::logger
