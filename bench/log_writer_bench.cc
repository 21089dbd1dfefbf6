// The speed of the log: a record that the settings do not want, and a full trace to a file beside
// the same lines through the rotating file of spdlog.

#include "qxlogger/log_service.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace qx::logger {
namespace {

constexpr std::u16string_view kModule = u"Bench";
constexpr std::u16string_view kFunction = u"CQXEventSink::ItemEvent";
constexpr std::u16string_view kMessage = u"Form F_42 item 38 event type 6 before action, veto -1\n";
constexpr long kFileSize = 100;

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qxlogbenchXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  std::string file(const char* name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

void writeRecords(benchmark::State& state, long level) {
  const TemporaryFolder folder;
  LogService service(FileApi::system(), LogClock::system(),
                     {.settings = folder.file("log.toml"), .logs = folder.file("log")});
  service.store({.fileCount = 2, .fileSize = kFileSize, .level = level, .module = {}});
  for (auto _ : state) benchmark::DoNotOptimize(service.write(7, kModule, 6, kFunction, kMessage));
  state.SetItemsProcessed(state.iterations());
}

void recordNotWanted(benchmark::State& state) { writeRecords(state, 1); }

void fullTrace(benchmark::State& state) { writeRecords(state, 6); }

void fullTraceOfSpdlog(benchmark::State& state) {
  const TemporaryFolder folder;
  auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder.file("Bench.log"),
                                                                     kFileSize << 20, 2);
  spdlog::logger logger("Bench", sink);
  logger.set_level(spdlog::level::trace);
  logger.set_pattern("%Y-%m-%dT%H:%M:%S.%f%z\tDebug2\t7\t%P\tCQXEventSink::ItemEvent\t%v");
  for (auto _ : state) {
    logger.log(spdlog::level::trace, "Form F_42 item 38 event type 6 before action, veto -1");
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(recordNotWanted);
BENCHMARK(fullTrace);
BENCHMARK(fullTraceOfSpdlog);

}  // namespace
}  // namespace qx::logger
