#include "qxframework/diagnostics/internal/fault_report.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/format.h"
#include "qxframework/diagnostics/stack_walker.h"
#include "qxframework/logging/function_log.h"

#include <cstring>

namespace qx::diagnostics {

void noteInLog(const FaultReport& report) {
  const CComPtr<QXLoggerLib::IQXLogger> logger = createLogger();
  if (logger == nullptr) return;
  const CComBSTR module(report.module);
  const CComBSTR function(u"qx::installFaultGuard");
  const CComBSTR message(format(u"Process %d ends by signal %d (%s), address %p\n", report.process,
                                report.signal, strsignal(report.signal),
                                reinterpret_cast<const void*>(report.address)));
  logger->WriteLog(0, module, QXLoggerLib::sl_Error, function, message);
}

void writeDump(const FaultReport& report) {
  CONTEXT context = report.context;
  EXCEPTION_RECORD record{static_cast<DWORD>(report.signal),
                          reinterpret_cast<void*>(report.address)};
  EXCEPTION_POINTERS pointers{&record, &context};
  ExpFilter(&pointers, static_cast<unsigned long>(report.signal));
}

}  // namespace qx::diagnostics
