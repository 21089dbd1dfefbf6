#include "qxframework/runtime/internal/version_report.h"

#include "qxframework/host/ids.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/util/qx_util.h"

namespace qx {
namespace {

using Log = CReturnValue<long>;

// Logs one line: `found` with the text, or the error `missing` if the text is empty.
void report(Log& log, const CString& text, const OLECHAR* found, const OLECHAR* missing) {
  if (text.GetLength() >= 1) {
    log.LogInfo(found, text.View());
  } else {
    log.LogError(missing);
  }
}

void reportRXAPI(Log& log, long appId) {
  CComBSTR version(u"<not obtained yet>");
  if (CQXUtil::GetRXAPIVersion(appId, version) < 0) {
    log.LogError(u"Failed to detect current version of RX API");
  }
  log.LogInfo(u"Current version of RX API is %s", version.View());
  const CString path = CQXUtil::GetCOMObjectPath(CLSID_HalvexCompany);
  report(log, path, u"Current version of RX API is located at %s",
         u"Failed to get location for RX API");
  report(log, CQXUtil::GetVersionInfoFromResource(path),
         u"Current version of RX API (from resource) is %s",
         u"Failed to get version info from resource for RX API");
}

// The missing bracket at the end of two texts is frozen, as all log texts are.
void reportUIAPI(Log& log) {
  report(log, CQXUtil::GetCOMObjectVersion(CLSID_HalvexGuiApi), u"Current version of UI API is %s",
         u"Failed to get version info for UI API");
  const CString path = CQXUtil::GetCOMObjectPath(CLSID_HalvexGuiApi);
  report(log, path, u"Current version of UI API(HalvexGuiApi) is located at %s",
         u"Failed to get location for UI API(Application)");
  report(log, CQXUtil::GetVersionInfoFromResource(path),
         u"Current version of UI API (HalvexGuiApi -from resource) is %s",
         u"Failed to get version info from resource for UI API(HalvexGuiApi");
}

void reportApplication(Log& log) {
  const CString path = CQXUtil::GetCOMObjectPath(CLSID_HalvexApplication);
  report(log, path, u"Current version of UI API(Application) is located at %s",
         u"Failed to get location for UI API(Application)");
  report(log, CQXUtil::GetVersionInfoFromResource(path),
         u"Current version of UI API (Application -from resource) is %s",
         u"Failed to get version info from resource for UI API(Application");
}

// The framework is found by its version block; the add-on is the program of the process.
void reportModules(Log& log) {
  report(log, CQXUtil::GetVersionInfoFromResource(modulePath(frameworkModule())),
         u"Current version of Framework (from resource) is %s",
         u"Failed to get version info from resource for Framework");
  report(log, CQXUtil::GetVersionInfoFromResource(modulePath(nullptr)),
         u"Current version of addon (from resource) is %s",
         u"Failed to get version info from resource for addon");
}

}  // namespace

void reportVersions(CReturnValue<long>& log, long appId) {
  try {
    reportRXAPI(log, appId);
    reportUIAPI(log);
    reportApplication(log);
    reportModules(log);
  } catch (...) {
    // The report is for support only. A start must not fail because of it.
    log.LogError(u"Unknown error happened when trying to get version info");
  }
}

}  // namespace qx
