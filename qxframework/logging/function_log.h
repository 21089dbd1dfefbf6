#pragma once

// The function scope: one stack object, the first statement of every non-trivial function, that
// traces entering and leaving, carries the function's result, and offers the log calls.
//
//   long CQXThing::Open(long appId) {
//     CReturnValue<long> hr(u"CQXThing::Open", 0, appId, false);
//     hr = Prepare();
//     if (hr < 0) hr.LogError(u"Prepare failed: %s", name);
//     return hr;
//   }
//
// Everything ends in WriteLog of the logging component, which decides what it records. Logging
// never fails the function that it serves: without the component a scope logs nothing, and whatever
// goes wrong on the way is swallowed.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/logging/qx_logger.h"

#include <type_traits>
#include <utility>

class IXMLDOMNode;

namespace qx {

/// The longest message; a longer one is cut without a mark.
inline constexpr std::size_t kMaxLogMessage = 1023;

/// The module name that goes with every record: empty until CQXAddOn sets it, then only read.
QX_API CComBSTR& logModuleName();

/// A new instance of the logging component; null, with a line to the developer trace, when there is
/// none.
QX_API CComPtr<QXLoggerLib::IQXLogger> createLogger();

/// Formats the message and writes it. E_FAIL for a level outside 1 to 6; otherwise the logger's
/// result, or 0 when there is no logger or anything was thrown.
QX_API long writeLogMessage(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                            QXLoggerLib::HvSeverityLevel level, const OLECHAR* format,
                            FormatArgs args) noexcept;

/// The lines of a scope at its start and end, which most scopes write and most settings do not
/// record: level Debug2 without the formatter. The latter has the name of the result.
QX_API void writeEnteringLine(QXLoggerLib::IQXLogger* logger, long appId,
                              const _bstr_t& function) noexcept;
QX_API void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                             long result) noexcept;

/// Writes the sentence for `code` into a buffer of 1024 units.
QX_API void copyErrorText(unsigned long code, OLECHAR (&buffer)[1024]);
/// Shows a modal error box of the system; see CLogBase::ErrorBox.
QX_API void showErrorBox(const OLECHAR* title, const OLECHAR* format, FormatArgs args);

/// The text of a scope's value in its leaving line.
QX_API std::u16string printableValue(long value);
inline const CComBSTR& printableValue(const CComBSTR& value) { return value; }
inline std::u16string_view printableValue(const CString& value) { return value.View(); }
/// The node's name, or "null".
QX_API CComBSTR printableValue(const CComPtr<IXMLDOMNode>& value);

}  // namespace qx

template <class T>
class QX_API CLogBase {
 public:
  /// With `quiet` neither the entering nor the leaving line is written.
  CLogBase(_bstr_t function, long appId, bool quiet)
      : m_lAppId(appId),
        m_bstrFunction(std::move(function)),
        m_bQuiet(quiet),
        ptrQXLogger(qx::createLogger()) {
    if (!m_bQuiet) qx::writeEnteringLine(ptrQXLogger, m_lAppId, m_bstrFunction);
  }

  template <class... Args>
  void LogError(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Error, format, args...);
  }
  template <class... Args>
  void LogWarning(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Warning, format, args...);
  }
  template <class... Args>
  void LogInfo(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Information, format, args...);
  }
  template <class... Args>
  void LogDbg0(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Debug0, format, args...);
  }
  template <class... Args>
  void LogDbg1(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Debug1, format, args...);
  }
  template <class... Args>
  void LogDbg2(const OLECHAR* format, const Args&... args) {
    Log(QXLoggerLib::sl_Debug2, format, args...);
  }

  /// A modal box of the system with the caption "<title> Error", or "Error" for an empty title: for
  /// the time before the host can show one.
  template <class... Args>
  static void ErrorBox(const OLECHAR* title, const OLECHAR* format, const Args&... args) {
    if constexpr (sizeof...(Args) == 0) {
      qx::showErrorBox(title, format, {});
    } else {
      const qx::FormatArg list[] = {qx::FormatArg(args)...};
      qx::showErrorBox(title, format, list);
    }
  }

  /// The sentence for a result code. The text is good until the next call on this instantiation.
  static OLECHAR* xstrerror(unsigned long code) {
    qx::copyErrorText(code, msgBuf);
    return msgBuf;
  }

 protected:
  CLogBase(const CLogBase&) = default;
  CLogBase& operator=(const CLogBase&) = default;
  ~CLogBase() = default;

  long m_lAppId;
  _bstr_t m_bstrFunction;
  bool m_bQuiet;
  CComPtr<QXLoggerLib::IQXLogger> ptrQXLogger;

 private:
  template <class... Args>
  void Log(QXLoggerLib::HvSeverityLevel level, const OLECHAR* format, const Args&... args) {
    if constexpr (sizeof...(Args) == 0) {
      LogMessage(level, format, {});
    } else {
      const qx::FormatArg list[] = {qx::FormatArg(args)...};
      LogMessage(level, format, list);
    }
  }
  long LogMessage(QXLoggerLib::HvSeverityLevel level, const OLECHAR* format, qx::FormatArgs args) {
    return qx::writeLogMessage(ptrQXLogger, m_lAppId, m_bstrFunction, level, format, args);
  }

  static inline OLECHAR msgBuf[1024] = {};
};

/// The scope of a function that returns a T. It reads and assigns as a T.
template <class T>
class QX_API CReturnValue : public CLogBase<CReturnValue<T>> {
 public:
  CReturnValue(_bstr_t function, T initial, long appId, bool quiet = false)
      : CLogBase<CReturnValue<T>>(std::move(function), appId, quiet), m_value(initial) {
    *this = m_value;
  }
  CReturnValue(const CReturnValue&) = default;
  CReturnValue& operator=(const CReturnValue&) = default;
  ~CReturnValue() {
    if (this->m_bQuiet) return;
    if constexpr (std::is_same_v<T, long>) {
      qx::writeLeavingLine(this->ptrQXLogger, this->m_lAppId, this->m_bstrFunction, m_value);
    } else {
      WriteLeavingLine();
    }
  }

  CReturnValue& operator=(const T& value) {
    // A result code keeps its sign whatever literal it was written as.
    if constexpr (std::is_same_v<T, long>) {
      m_value = qx::resultCode(value);
    } else {
      m_value = value;
    }
    return *this;
  }
  operator const T&() const { return m_value; }
  void ToString(CComBSTR& out) const {
    out = CComBSTR(qx::format(u"%s", qx::printableValue(m_value)));
  }

 private:
  void WriteLeavingLine() {
    try {
      this->LogDbg2(u"Leaving function [%s]\n", qx::printableValue(m_value));
    } catch (...) {
      // A value that cannot be printed costs its line, never the function.
    }
  }

  T m_value;
};

template <>
class QX_API CReturnValue<void> : public CLogBase<CReturnValue<void>> {
 public:
  CReturnValue(_bstr_t function, long appId, bool quiet = false)
      : CLogBase<CReturnValue<void>>(std::move(function), appId, quiet) {}
  CReturnValue(const CReturnValue&) = default;
  CReturnValue& operator=(const CReturnValue&) = default;
  ~CReturnValue() {
    if (!m_bQuiet) LogDbg2(u"Leaving function\n");
  }
  void ToString(CComBSTR& out) const { out = u"(void)"; }
};

extern template class CLogBase<long>;
extern template class CLogBase<CReturnValue<void>>;
extern template class CLogBase<CReturnValue<long>>;
extern template class CLogBase<CReturnValue<CComBSTR>>;
extern template class CLogBase<CReturnValue<CString>>;
extern template class CLogBase<CReturnValue<CComPtr<IXMLDOMNode>>>;
