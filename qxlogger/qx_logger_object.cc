// The automation side of the logging component: the object that a function scope makes, its
// factory, and the one entry of the shared object. An object holds nothing but its count.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/logging/qx_logger.h"
#include "qxlogger/log_service.h"
#include "qxlogger/record.h"
#include "qxlogger/text.h"

#include <cerrno>

namespace qx::logger {
namespace {

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

  // The result code has no room for the reason, so that goes into the log.
  HRESULT WriteSettings(long fileCount, long fileSize, long level, BSTR module) override {
    return guarded([&] {
      const LogSettings settings{.fileCount = fileCount,
                                 .fileSize = fileSize,
                                 .level = level,
                                 .module = std::u16string(viewOfBstr(module))};
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
