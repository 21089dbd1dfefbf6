// The automation side of the logging component: the object that a function scope creates, its
// factory, and the only exported function of the shared object. An object has no state except its
// reference count.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/qx_logger.h"
#include "qxlogger/log_service.h"
#include "qxlogger/record.h"

#include <cerrno>

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

class Logger final : public ComObject<NoDispatch<QXLoggerLib::IQXLogger>> {
 public:
  HRESULT WriteLog(long appId, BSTR module, QXLoggerLib::HvSeverityLevel level, BSTR function,
                   BSTR message) override {
    return LogService::instance().write(appId, viewOfBstr(module), level, viewOfBstr(function),
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
};

}  // namespace
}  // namespace qx::logger

extern "C" QX_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (!(clsid == QXLoggerLib::CLSID_QXLogger)) return CLASS_E_CLASSNOTAVAILABLE;
  return qx::guarded([&] {
    const auto make = [] { return qx::makeObject<qx::logger::Logger>(); };
    return qx::makeFactory(make)->QueryInterface(iid, object);
  });
}
