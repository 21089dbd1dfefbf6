#include "qxframework/automation/developer_trace.h"

#include "qxframework/automation/text.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace qx {
namespace {

std::atomic<TraceSink> g_sink{nullptr};  // null: the standard error stream

// Reads the variable each time, so that a program can switch the trace on while it runs. One write
// keeps the message whole among those of other threads.
void traceToStandardError(std::u16string_view text) {
  const char* wanted = std::getenv("QX_TRACE");
  if (wanted == nullptr || *wanted == 0) return;
  const std::string line = toUtf8(text);
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void developerTrace(std::u16string_view text) {
  const TraceSink sink = g_sink.load(std::memory_order_acquire);
  (sink == nullptr ? traceToStandardError : sink)(text);
}

TraceSink setDeveloperTraceSink(TraceSink sink) {
  return g_sink.exchange(sink, std::memory_order_acq_rel);
}

}  // namespace qx
