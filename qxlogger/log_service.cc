#include "qxlogger/log_service.h"

#include "qxlogger/log_paths.h"
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

// Cached, because the system call takes longer than all other work on a record.
std::atomic<long> processId{0};

long currentProcessId() {
  long id = processId.load(std::memory_order_relaxed);
  if (id == 0) {
    id = getpid();
    processId.store(id, std::memory_order_relaxed);
  }
  return id;
}

// The pause is the time for which the end of a flood may remain pending.
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
  // First, because the flusher's thread walks the list that is deleted below.
  flusher_.stop();
  flush();
  Module* next = modules_;
  while (next != nullptr) {
    const std::unique_ptr<Module> last(next);
    next = last->next;
  }
}

LogService& LogService::makeForProcess() {
  // The first of several threads makes it, and the others wait.
  static LogService& service = []() -> LogService& {
    auto* made = new LogService(FileApi::system(), LogClock::system(),
                                {.settings = settingsPath(), .logs = logFolder()});
    ofProcess_ = made;
    prepareForkAndExit();
    return *made;
  }();
  return service;
}

// The handler of exit writes out what is pending. Records of later destructors are written at once,
// because no one would flush them. The handler of fork runs in the child only.
void LogService::prepareForkAndExit() {
  pthread_atfork(nullptr, nullptr, [] {
    processId = 0;
    ofProcess_.load()->flusher_.forgetThread();
  });
  std::atexit([] {
    ofProcess_.load()->ending_ = true;
    ofProcess_.load()->flush();
  });
}

long LogService::record(const LogSettings& settings, long appId, std::u16string_view module,
                        long level, std::u16string_view function,
                        std::u16string_view message) noexcept try {
  const std::int64_t time = clock_.wallNanoseconds();
  const long process = currentProcessId();
  const std::string text = formatRecord({.time = time,
                                         .level = level,
                                         .appId = appId,
                                         .processId = process,
                                         .function = function,
                                         .message = message});
  // Errors and warnings are in the file when the call returns, even if the process then crashes.
  const bool urgent = level <= kWarning || ending_;
  const LogLine line{
      .text = text, .time = time, .processId = process, .mayWait = !urgent && flusher_.isReady()};
  const LogLimits limits{.fileCount = settings.fileCount,
                         .fileBytes = settings.fileSize * kMegabyte};
  const Appended result = find(module).log.append(line, limits);
  if (result == Appended::kPending) flusher_.request();
  return result == Appended::kDropped ? kNotRecorded : kRecorded;
} catch (...) {
  // Out of memory: the record is lost, but the caller continues.
  return kNotRecorded;
}

// A process has few modules, so a list serves. It is lock-free: two threads may create the same
// module at once, but only one of them can put its own at the head; the other then finds it.
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

void LogService::flush() noexcept {
  for (Module* module = modules_.load(std::memory_order_acquire); module != nullptr;
       module = module->next) {
    try {
      module->log.flush();
    } catch (...) {
      // Out of memory: the records stay in the shared memory for the next flush.
    }
  }
}

}  // namespace qx::logger
