#include "qxframework/logging/function_log.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/logging/internal/fixed_bstr.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/debug_trace.h"
#include "qxframework/xml/dom.h"

#include <algorithm>
#include <cstring>

// Exported once from here, so that the buffers of xstrerror are the same in all modules.
template class CLogBase<long>;
template class CLogBase<CReturnValue<void>>;
template class CLogBase<CReturnValue<long>>;
template class CLogBase<CReturnValue<CComBSTR>>;
template class CLogBase<CReturnValue<CString>>;
template class CLogBase<CReturnValue<CComPtr<IXMLDOMNode>>>;

namespace qx {
namespace {

constexpr UINT kSetForeground = 0x10000;

// A BSTR on the stack, so that a message costs no allocation. The layout is that of
// SysAllocStringLen: the length in bytes directly precedes the first unit.
struct StackBstr {
  std::uint32_t bytes = 0;
  OLECHAR text[kMaxLogMessage + 1];
};

void formatMessage(StackBstr& message, const OLECHAR* format, FormatArgs args) {
  const int length = formatInto(message.text, std::size(message.text), viewOf(format), args);
  // -1 means that the formatter has cut the message; it then fills the buffer and ends without
  // dots.
  const auto units = length < 0 ? kMaxLogMessage : static_cast<std::size_t>(length);
  message.bytes = static_cast<std::uint32_t>(units * sizeof(OLECHAR));
}

CComPtr<QXLoggerLib::IQXLogger> makeLogger() {
  CComPtr<QXLoggerLib::IQXLogger> logger;
  if (createInstance(QXLoggerLib::CLSID_QXLogger, CLSCTX_SERVER, &logger.p) < 0) {
    developerTrace(u"CLog: Can't get QXLogger object\n");
  }
  return logger;
}

constexpr FixedBstr<32> kEntering{u"Entering function\n"};
constexpr FixedBstr<32> kLeaving{u"Leaving function\n"};

void writeTrace(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                BSTR message) noexcept {
  if (logger == nullptr) return;
  try {
    logger->WriteLog(appId, logModuleName(), QXLoggerLib::sl_Debug2, function, message);
  } catch (...) {
    // The line is lost, the caller goes on.
  }
}

}  // namespace

CComBSTR& logModuleName() {
  static CComBSTR* const name = new CComBSTR;  // never freed: exit handlers may open scopes
  return *name;
}

CComPtr<QXLoggerLib::IQXLogger> createLogger() { return makeLogger(); }

long writeLogMessage(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                     QXLoggerLib::HvSeverityLevel level, const OLECHAR* format,
                     FormatArgs args) noexcept {
  if (level < QXLoggerLib::sl_Error || level > QXLoggerLib::sl_Debug2) return E_FAIL;
  try {
    StackBstr message;
    formatMessage(message, format, args);
    if (logger == nullptr) return S_OK;
    return logger->WriteLog(appId, logModuleName(), level, function, message.text);
  } catch (...) {
    return S_OK;  // the message is lost; logging must not fail the caller
  }
}

void writeEnteringLine(QXLoggerLib::IQXLogger* logger, long appId,
                       const _bstr_t& function) noexcept {
  writeTrace(logger, appId, function, kEntering.bstr());
}

CComPtr<QXLoggerLib::IQXLogger> enterScope(const _bstr_t& function, long appId, bool quiet) {
  CComPtr<QXLoggerLib::IQXLogger> logger = makeLogger();
  if (!quiet) writeTrace(logger, appId, function, kEntering.bstr());
  return logger;
}

void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId,
                      const _bstr_t& function) noexcept {
  writeTrace(logger, appId, function, kLeaving.bstr());
}

void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                      long result) noexcept {
  if (const BSTR message = leavingMessage(result)) {
    return writeTrace(logger, appId, function, message);
  }
  const FormatArg number(result);
  writeLogMessage(logger, appId, function, QXLoggerLib::sl_Debug2, u"Leaving function [0x%08X]\n",
                  {&number, 1});
}

void copyErrorText(unsigned long code, OLECHAR (&buffer)[1024]) {
  // The parameter is unsigned, the table is ordered by sign-extended codes.
  const std::u16string text = errorText(resultCode(static_cast<std::int64_t>(code)));
  const std::size_t length = std::min(text.size(), std::size(buffer) - 1);
  std::memcpy(buffer, text.data(), length * sizeof(OLECHAR));
  buffer[length] = 0;
}

void showErrorBox(const OLECHAR* title, const OLECHAR* format, FormatArgs args) {
  OLECHAR caption[256] = u"Error";
  if (!viewOf(title).empty()) {
    const FormatArg arg(title);
    formatInto(caption, std::size(caption), u"%s Error", {&arg, 1});
  }
  OLECHAR text[1024];
  formatInto(text, std::size(text), viewOf(format), args);
  MessageBoxW(nullptr, text, caption, MB_ICONERROR | kSetForeground);
}

std::u16string printableValue(long value) { return resultText(value); }

CComBSTR printableValue(const CComPtr<IXMLDOMNode>& value) {
  return value == nullptr ? CComBSTR(u"null") : value.p->nodeName();
}

}  // namespace qx
