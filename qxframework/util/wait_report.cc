#include "qxframework/util/wait_report.h"

#include "qxframework/automation/format.h"
#include "qxframework/host/application.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/debug_trace.h"
#include "qxframework/util/framework_text.h"
#include "qxframework/util/qx_util.h"

namespace qx {
namespace {

constexpr unsigned kTextProgram = 227;
constexpr unsigned kTextUnknownProgram = 228;

}  // namespace

CComBSTR nameOfHolder(const std::optional<LockHolder>& holder, HvLanguages language) {
  if (!holder) return frameworkText(kTextUnknownProgram, language);
  return CComBSTR(
      format(frameworkText(kTextProgram, language), holder->program, holder->processId));
}

CComBSTR nameOfHolder(const CComBSTR& holder, HvLanguages language) {
  return holder.IsEmpty() ? frameworkText(kTextUnknownProgram, language) : holder;
}

void reportWaiting(const Waiting& waiting, const std::function<CComBSTR(HvLanguages)>& holder,
                   std::chrono::seconds waited, long appId,
                   const CComPtr<IApplication>& application) {
  const std::u16string line =
      format(u"Waiting for %s for %d seconds. It is held by %s.", waiting.what,
             static_cast<long>(waited.count()), holder(ln_English));
  OutputDebugStringW((line + u"\n").c_str());
  CReturnValue<void> scope(waiting.function, appId, true);
  scope.LogWarning(u"%s", line);
  if (application == nullptr) return;
  HvLanguages language = ln_English;
  application->raw_GetLanguage(&language);
  CQXUtil::SetStatusBarWarningMessage(
      application, CComBSTR(format(frameworkText(waiting.text, language), holder(language))));
}

}  // namespace qx
