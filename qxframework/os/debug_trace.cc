#include "qxframework/os/debug_trace.h"

#include "qxframework/automation/text.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace {

std::atomic<qx::MessageBoxSink> g_sink{nullptr};

void showOnStandardError(std::u16string_view text, std::u16string_view caption, UINT /*flags*/) {
  // One write for the whole line, so that lines of several threads do not mix.
  const std::string line = qx::toUtf8(caption) + ": " + qx::toUtf8(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void OutputDebugStringW(const OLECHAR* text) { qx::developerTrace(text != nullptr ? text : u""); }

int MessageBoxW(HWND /*owner*/, const OLECHAR* text, const OLECHAR* caption, UINT flags) {
  const qx::MessageBoxSink sink = g_sink.load(std::memory_order_acquire);
  (sink == nullptr ? showOnStandardError : sink)(text != nullptr ? text : u"",
                                                 caption != nullptr ? caption : u"Error", flags);
  return IDOK;
}

namespace qx {

MessageBoxSink setMessageBoxSink(MessageBoxSink sink) {
  return g_sink.exchange(sink, std::memory_order_acq_rel);
}

}  // namespace qx
