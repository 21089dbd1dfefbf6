// Measures the full trace of scopes into ten rotating files against spdlog's rotating file sink,
// which keeps the records of a process in a buffer: the same 200,000 lines, from one thread and
// from four at once.

#include "bench/log_settings.h"
#include "bench/measure.h"
#include "qxframework/logging/function_log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRounds = 7;
constexpr long kRecords = 200'000;
constexpr long kFiles = 10;
constexpr long kMegabytes = 1;
constexpr const char* kFunction = "CQXEventSink::ItemEvent";

// Two records.
void ourLines(long i) {
  CReturnValue<long> hr(u"CQXEventSink::ItemEvent", 0, 1, false);
  hr = i & 1;
  qx::bench::keep(hr);
}

void theirLines(spdlog::logger& logger, int process, long i) {
  logger.trace("{}\t{}\t{}\tEntering function", 1, process, kFunction);
  logger.trace("{}\t{}\t{}\tLeaving function [{}]", 1, process, kFunction,
               (i & 1) != 0 ? "S_FALSE" : "S_OK");
}

/// Calls `each` with the numbers of all scopes, shared among `threads`.
template <class Each>
void onThreads(int threads, Each&& each) {
  const long share = kRecords / 2 / threads;
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&each, share] {
      for (long i = 0; i < share; ++i) each(i);
    });
  }
  for (std::thread& thread : running) thread.join();
}

void compare(const char* name, int threads, spdlog::logger& peer) {
  const auto ours = qx::createLogger();
  const int process = getpid();
  const qx::bench::Best best = qx::bench::compare(
      kRounds,
      [&] {
        onThreads(threads, [](long i) { ourLines(i); });
        // An error is written at once, with all that precede it.
        ours->WriteLog(1, qx::logModuleName(), QXLoggerLib::sl_Error, nullptr, nullptr);
      },
      [&] {
        onThreads(threads, [&](long i) { theirLines(peer, process, i); });
        peer.flush();
      });
  std::printf("%s: ours %.0f ns, spdlog %.0f ns for a record\n", name, best.ours / kRecords * 1e9,
              best.peer / kRecords * 1e9);
  qx::bench::printRatio(name, best.ratio());
}

}  // namespace

int main() {
  const char* folder = std::getenv("QX_LOG_DIR");
  const std::string file = std::string(folder == nullptr ? "/tmp" : folder) + "/spdlog_peer.log";
  qx::logModuleName() = u"HELLO";
  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Debug2, kMegabytes, kFiles)) return 1;
  spdlog::logger peer("file", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                                  file, static_cast<std::size_t>(kMegabytes) << 20, kFiles - 1));
  peer.set_level(spdlog::level::trace);
  peer.set_pattern("%Y-%m-%dT%H:%M:%S.%f%z\t%l\t%v");
  compare("trace-rotate-1", 1, peer);
  compare("trace-rotate-4", 4, peer);
  return 0;
}
