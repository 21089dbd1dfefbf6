#include "qxlogger/log_service.h"

#include "qxlogger/log_paths.h"
#include "qxlogger/record.h"
#include "qxlogger/shared_log.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <utility>

namespace qx::logger {
namespace {

constexpr std::int64_t kMegabyte = 1 << 20;

// Asking the system costs more than all the rest of a record.
std::atomic<long> processId{0};

// The process's own, for what runs at fork and exit.
std::atomic<LogService*> theService{nullptr};

long currentProcessId() {
  long id = processId.load(std::memory_order_relaxed);
  if (id == 0) {
    id = getpid();
    processId.store(id, std::memory_order_relaxed);
  }
  return id;
}

// How long the end of a flood may stay pending.
void pauseBeforeFlush() {
  constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 20 * kNanosecondsPerMillisecond};
  nanosleep(&kPause, nullptr);
}

}  // namespace

struct LogService::Module {
  Module(FileApi& files, LogClock& clock, const std::string& folder, std::u16string_view moduleName)
      : name(moduleName), log(files, clock, folder, fileBaseName(moduleName)) {}

  const std::u16string name;
  SharedLog log;
  Module* next = nullptr;
};

LogService::LogService(FileApi& files, LogClock& clock, Places places)
    : files_(files),
      clock_(clock),
      places_(std::move(places)),
      monitor_(files, clock, places_.settings),
      flusher_(pauseBeforeFlush, [this] { flush(); }) {}

LogService::~LogService() {
  flusher_.stop();
  flush();
  Module* next = modules_;
  while (next != nullptr) {
    const std::unique_ptr<Module> last(next);
    next = last->next;
  }
}

LogService& LogService::instance() {
  static LogService& service = []() -> LogService& {
    auto* made = new LogService(FileApi::system(), LogClock::system(),
                                {.settings = settingsPath(), .logs = logFolder()});
    theService = made;
    prepareForkAndExit();
    return *made;
  }();
  return service;
}

// At exit nothing is left pending, and what comes later is written at once.
void LogService::prepareForkAndExit() {
  pthread_atfork(nullptr, nullptr, [] {
    processId = 0;
    theService.load()->flusher_.forgetThread();
  });
  std::atexit([] {
    theService.load()->ending_ = true;
    theService.load()->flush();
  });
}

long LogService::write(long appId, std::u16string_view module, long level,
                       std::u16string_view function, std::u16string_view message) noexcept try {
  if (level < kError || level > kDebug2) return kNotRecorded;
  const LogSettings& settings = monitor_.current();
  if (!settings.admits(level, module)) return kRecorded;
  return record(settings, appId, module, level, function, message);
} catch (...) {
  // Out of memory: the record is lost, the caller goes on.
  return kNotRecorded;
}

long LogService::record(const LogSettings& settings, long appId, std::u16string_view module,
                        long level, std::u16string_view function, std::u16string_view message) {
  const std::int64_t time = clock_.wallNanoseconds();
  const long process = currentProcessId();
  const std::string text = formatRecord({.time = time,
                                         .level = level,
                                         .appId = appId,
                                         .processId = process,
                                         .function = function,
                                         .message = message});
  const bool urgent = level <= kWarning || ending_;
  const LogLine line{
      .text = text, .time = time, .processId = process, .mayWait = !urgent && flusher_.isReady()};
  const LogLimits limits{.fileCount = settings.fileCount,
                         .fileBytes = settings.fileSize * kMegabyte};
  const Appended result = find(module).log.append(line, limits);
  if (result == Appended::kPending) flusher_.request();
  return result == Appended::kDropped ? kNotRecorded : kRecorded;
}

LogService::Module& LogService::find(std::u16string_view name) {
  Module* head = modules_.load(std::memory_order_acquire);
  std::unique_ptr<Module> fresh;
  while (true) {
    for (Module* module = head; module != nullptr; module = module->next) {
      if (module->name == name) return *module;
    }
    if (fresh == nullptr) fresh = std::make_unique<Module>(files_, clock_, places_.logs, name);
    fresh->next = head;
    if (modules_.compare_exchange_strong(head, fresh.get(), std::memory_order_acq_rel)) {
      return *fresh.release();
    }
  }
}

void LogService::flush() {
  for (Module* module = modules_.load(std::memory_order_acquire); module != nullptr;
       module = module->next) {
    module->log.flush();
  }
}

}  // namespace qx::logger
