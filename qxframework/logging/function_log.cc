#include "qxframework/logging/function_log.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/debug_trace.h"
#include "qxframework/xml/dom.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

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

// Joins the parts by hand: this runs twice per scope, mostly for lines that the settings drop. The
// parts must fit into a message; all callers pass short fixed ones.
void writeTrace(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                std::initializer_list<std::u16string_view> parts) {
  StackBstr message;
  OLECHAR* end = message.text;
  for (const std::u16string_view part : parts) end = std::copy(part.begin(), part.end(), end);
  *end = 0;
  message.bytes =
      static_cast<std::uint32_t>(static_cast<std::size_t>(end - message.text) * sizeof(OLECHAR));
  logger->WriteLog(appId, logModuleName(), QXLoggerLib::sl_Debug2, function, message.text);
}

}  // namespace

CComBSTR& logModuleName() {
  static CComBSTR* const name = new CComBSTR;  // never freed: exit handlers may open scopes
  return *name;
}

CComPtr<QXLoggerLib::IQXLogger> createLogger() {
  CComPtr<QXLoggerLib::IQXLogger> logger;
  if (createInstance(QXLoggerLib::CLSID_QXLogger, CLSCTX_SERVER, &logger.p) < 0) {
    developerTrace(u"CLog: Can't get QXLogger object\n");
  }
  return logger;
}

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
  if (logger == nullptr) return;
  try {
    writeTrace(logger, appId, function, {u"Entering function\n"});
  } catch (...) {
    // The line is lost, the caller goes on.
  }
}

void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                      long result) noexcept {
  if (logger == nullptr) return;
  try {
    const std::u16string_view name = resultName(result);
    // Only a code without a name allocates a text.
    const std::u16string number = name.empty() ? resultText(result) : std::u16string();
    writeTrace(logger, appId, function,
               {u"Leaving function [", name.empty() ? number : name, u"]\n"});
  } catch (...) {
    // The line is lost, the caller goes on.
  }
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
