// The automation side of the logging component: the object that a function scope creates, its
// factory, and the only exported function of the shared object. An object has no state except its
// reference count. Every scope makes one, also where nothing is recorded, so both the object and
// its factory avoid what costs more than the allocation itself: atomic writes and queries.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/qx_logger.h"
#include "qxlogger/log_service.h"
#include "qxlogger/record.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace qx::logger {
namespace {

// The core knows neither result codes nor the interface, so the numbers are compared here.
static_assert(kRecorded == S_OK && kNotRecorded == S_FALSE);
static_assert(kError == QXLoggerLib::sl_Error && kDebug2 == QXLoggerLib::sl_Debug2);

HRESULT resultOf(const StoreResult& stored) {
  switch (stored.error) {
    case 0:
      return S_OK;
    case EACCES:
    case EPERM:
    case EROFS:
      return E_ACCESSDENIED;
    default:
      return E_FAIL;
  }
}

bool isSame(REFIID a, REFIID b) { return std::memcmp(&a, &b, sizeof(IID)) == 0; }

// The memory of the instance that this thread has released last. The next one is made in it: a
// scope makes and releases one, and the allocator would take longer than all else.
struct Spare {
  void* memory;
  bool armed;   // the thread's end frees the memory
  bool closed;  // the thread has ended; later destructors may still log
};
constinit thread_local Spare spare{};

struct SpareCleaner {
  ~SpareCleaner() {
    spare.closed = true;
    ::operator delete(std::exchange(spare.memory, nullptr));
  }
};

// Not inlined, because it runs once per thread.
[[gnu::noinline]] void armSpare() {
  static thread_local SpareCleaner cleaner;
  static_cast<void>(&cleaner);
  spare.armed = true;
}

void* takeMemory(std::size_t size) noexcept {
  if (void* const memory = std::exchange(spare.memory, nullptr)) return memory;
  return ::operator new(size, std::nothrow);
}

void giveMemory(void* memory) noexcept {
  if (spare.memory != nullptr || spare.closed) return ::operator delete(memory);
  if (!spare.armed) armSpare();
  spare.memory = memory;
}

// The creator has the first reference.
class Logger final : public NoDispatch<QXLoggerLib::IQXLogger> {
 public:
  Logger() = default;
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return takeMemory(size);
  }
  static void operator delete(void* memory) noexcept { giveMemory(memory); }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    const bool has = isSame(iid, QXLoggerLib::IQXLogger::kIid) || isSame(iid, IDispatch::kIid) ||
                     isSame(iid, IUnknown::kIid);
    *object = has ? static_cast<QXLoggerLib::IQXLogger*>(this) : nullptr;
    if (has) AddRef();
    return has ? S_OK : E_NOINTERFACE;
  }
  ULONG AddRef() override { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  ULONG Release() override {
    // The holder of the only reference is alone, so that it need not write the count.
    const bool alone = count_.load(std::memory_order_acquire) == 1;
    const ULONG left = alone ? 0 : count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

  HRESULT WriteLog(long appId, BSTR module, QXLoggerLib::HvSeverityLevel level, BSTR function,
                   BSTR message) override {
    LogService& service = LogService::instance();
    const LogSettings* settings = service.settingsFor(level, viewOfBstr(module));
    if (settings == nullptr) [[likely]]
      return LogService::resultOfExcluded(level);
    return service.record(*settings, appId, viewOfBstr(module), level, viewOfBstr(function),
                          viewOfBstr(message));
  }

  HRESULT ReadSettings(long* fileCount, long* fileSize, long* level, BSTR* module) override {
    if (fileCount == nullptr || fileSize == nullptr || level == nullptr) return E_POINTER;
    return guarded([&] {
      const LogSettings settings = LogService::instance().settings();
      *fileCount = settings.fileCount;
      *fileSize = settings.fileSize;
      *level = settings.level;
      return giveText(settings.module, module);
    });
  }

  // The result code cannot carry the reason of a failure, so the reason is logged.
  HRESULT WriteSettings(long fileCount, long fileSize, long level, BSTR module) override {
    return guarded([&] {
      const LogSettings settings{.fileCount = fileCount,
                                 .fileSize = fileSize,
                                 .level = level,
                                 .module = std::u16string(viewOfBstr(module))};
      // The file may contain anything and is corrected silently; a caller learns of its mistake.
      if (!(withinLimits(settings) == settings)) return E_INVALIDARG;
      LogService& service = LogService::instance();
      const StoreResult stored = service.store(settings);
      if (stored.error != 0) {
        service.write(0, {}, kError, u"QXLogger::WriteSettings", toUtf16(stored.text));
      }
      return resultOf(stored);
    });
  }

 private:
  ~Logger() = default;

  std::atomic<ULONG> count_{1};
};

class LoggerFactory final : public ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    auto* const made = new (std::nothrow) Logger;
    if (made == nullptr) return E_OUTOFMEMORY;
    // What a scope asks for; the reference passes to it.
    if (isSame(iid, QXLoggerLib::IQXLogger::kIid)) {
      *object = static_cast<QXLoggerLib::IQXLogger*>(made);
      return S_OK;
    }
    const HRESULT result = made->QueryInterface(iid, object);
    made->Release();
    return result;
  }
  HRESULT LockServer(int) override { return S_OK; }
};

}  // namespace
}  // namespace qx::logger

extern "C" QX_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (!(clsid == QXLoggerLib::CLSID_QXLogger)) return CLASS_E_CLASSNOTAVAILABLE;
  return qx::guarded(
      [&] { return qx::makeObject<qx::logger::LoggerFactory>()->QueryInterface(iid, object); });
}
