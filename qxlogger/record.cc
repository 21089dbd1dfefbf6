#include "qxlogger/record.h"

#include "qxlogger/log_clock.h"
#include "qxlogger/text.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

namespace qx::logger {
namespace {

constexpr std::array<std::string_view, 6> kWords{"Error", "Warning", "Information",
                                                 "Debug", "Debug1",  "Debug2"};
constexpr std::size_t kLongestNumber = 20;
// Room for all but the two texts: two numbers, and some 50 characters of fixed width.
constexpr std::size_t kHeadSize = 112;

// The parts of a time that are the same for a second, cached because localtime_r() takes a lock of
// the process. The type has no destructor, so a record that is written while its thread ends can
// still use the cache.
struct Second {
  std::int64_t second = -1;
  char date[20] = {};   // 2024-02-29T13:37:00
  char offset[8] = {};  // +02:00
  std::size_t dateSize = 0;
  std::size_t offsetSize = 0;
};

void fill(Second& cache, std::int64_t second) {
  const auto time = static_cast<std::time_t>(second);
  std::tm local{};
  localtime_r(&time, &local);
  const long minutes = std::labs(local.tm_gmtoff) / 60;
  const auto* dateEnd =
      fmt::format_to_n(cache.date, std::size(cache.date), "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}",
                       local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                       local.tm_min, local.tm_sec)
          .out;
  const auto* offsetEnd =
      fmt::format_to_n(cache.offset, std::size(cache.offset), "{}{:02}:{:02}",
                       local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60)
          .out;
  cache.dateSize = static_cast<std::size_t>(dateEnd - cache.date);
  cache.offsetSize = static_cast<std::size_t>(offsetEnd - cache.offset);
  cache.second = second;
}

const Second& cachedSecond(std::int64_t second) {
  thread_local Second cache;
  if (cache.second != second) fill(cache, second);
  return cache;
}

char* put(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* putField(char* out, std::string_view text) {
  out = put(out, text);
  *out = '\t';
  return out + 1;
}

char* putField(char* out, long number) {
  out = std::to_chars(out, out + kLongestNumber, number).ptr;
  *out = '\t';
  return out + 1;
}

char* putMicroseconds(char* out, std::int64_t microseconds) {
  constexpr int kDigits = 6;
  for (int i = kDigits - 1; i >= 0; --i, microseconds /= 10) {
    out[i] = static_cast<char>('0' + microseconds % 10);
  }
  return out + kDigits;
}

// Writes the fields of a record that precede its texts, and returns their end. By hand, because
// this takes a quarter of the time that a general formatter takes, and a trace has many records.
char* writeHead(char* out, const Record& record) {
  const Second& second = cachedSecond(record.time / kNanosecondsPerSecond);
  out = put(out, {second.date, second.dateSize});
  *out++ = '.';
  out = putMicroseconds(out, record.time % kNanosecondsPerSecond / 1000);
  out = putField(out, {second.offset, second.offsetSize});
  out = putField(out, severityWord(record.level));
  out = putField(out, record.appId);
  return putField(out, record.processId);
}

}  // namespace

std::string_view severityWord(long level) {
  if (level < kError || level > kDebug2) return {};
  return kWords[static_cast<std::size_t>(level - 1)];
}

std::string formatRecord(const Record& record) {
  // Callers end their messages with a line end or not; the line itself has exactly one.
  const std::u16string_view message = withoutLineEnds(record.message);
  char head[kHeadSize];
  const auto headSize = static_cast<std::size_t>(writeHead(head, record) - head);
  std::string line;
  line.reserve(kHeadSize + record.function.size() + message.size());
  line.append(head, headSize);
  appendEscaped(line, record.function);
  line += '\t';
  appendEscaped(line, message);
  line += '\n';
  return line;
}

}  // namespace qx::logger
