// Measures a function scope against spdlog with the same two lines: while only errors are recorded,
// against formatting into the null sink; with the full trace, against the rotating file sink.

#include "bench/log_settings.h"
#include "bench/measure.h"
#include "qxframework/logging/function_log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr int kRounds = 15;
constexpr int kScopes = 100'000;
constexpr long kMegabytes = 512;  // enough for all rounds without a rotation

void oneScope(long i) {
  CReturnValue<long> hr(u"CQXEventSink::ItemEvent", 0, 1, false);
  hr = i & 1;
  qx::bench::keep(hr);
}

void sameLines(spdlog::logger& logger, long i) {
  logger.trace("{} {} {} Entering function", 1, "HELLO", "CQXEventSink::ItemEvent");
  logger.trace("{} {} {} Leaving function [{}]", 1, "HELLO", "CQXEventSink::ItemEvent",
               (i & 1) != 0 ? "S_FALSE" : "S_OK");
}

qx::bench::Best measure(spdlog::logger& logger) {
  return qx::bench::compare(
      kRounds,
      [] {
        for (long i = 0; i < kScopes; ++i) oneScope(i);
      },
      [&] {
        for (long i = 0; i < kScopes; ++i) sameLines(logger, i);
      });
}

void print(const char* name, const qx::bench::Best& best) {
  std::printf("%s: scope %.0f ns, spdlog %.0f ns\n", name, best.ours / kScopes * 1e9,
              best.peer / kScopes * 1e9);
  qx::bench::printRatio(name, best.ratio());
}

// Prints the parts of the time of a scope that records nothing.
void printParts() {
  const auto logger = qx::createLogger();
  const _bstr_t function(u"CQXEventSink::ItemEvent");
  const CComBSTR text(u"Entering function\n");
  const auto each = [](const char* what, auto&& work) {
    double best = 1;
    for (int round = 0; round < kRounds; ++round) {
      best = std::min(best, qx::bench::seconds([&] {
                        for (int i = 0; i < kScopes; ++i) work();
                      }));
    }
    std::printf("  %-32s %5.0f ns\n", what, best / kScopes * 1e9);
  };
  each("instance of the component", [] { qx::bench::keep(qx::createLogger().p); });
  each("the function's name",
       [] { qx::bench::keep(_bstr_t(u"CQXEventSink::ItemEvent").length()); });
  each("formatting and writing one line", [&] {
    qx::writeLogMessage(logger, 1, function, QXLoggerLib::sl_Debug2, u"Entering function\n", {});
  });
  each("  of which the component",
       [&] { logger->WriteLog(1, nullptr, QXLoggerLib::sl_Debug2, function, text); });
  each("the name of the result", [] { qx::bench::keep(qx::printableValue(0L).size()); });
}

}  // namespace

int main() {
  const char* folder = std::getenv("QX_LOG_DIR");
  const std::string file = std::string(folder == nullptr ? "/tmp" : folder) + "/spdlog_peer.log";
  qx::logModuleName() = u"HELLO";

  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Error, kMegabytes)) return 1;
  spdlog::logger null("null", std::make_shared<spdlog::sinks::null_sink_mt>());
  // At the level of the messages, or spdlog would not format them, as the framework does.
  null.set_level(spdlog::level::trace);
  print("scope-quiet", measure(null));
  printParts();

  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Debug2, kMegabytes)) return 1;
  spdlog::logger rotating("file", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                                      file, static_cast<std::size_t>(kMegabytes) << 20, 2));
  rotating.set_level(spdlog::level::trace);
  rotating.set_pattern("%Y-%m-%dT%H:%M:%S.%f%z\t%l\t%P\t%v");
  print("trace-file", measure(rotating));
  return 0;
}
