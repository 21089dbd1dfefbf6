#pragma once

// The function scope: a stack object, declared as the first statement of a function, that traces
// entry and exit, carries the function's result and has the log calls.
//
//   long CQXThing::Open(long appId) {
//     CReturnValue<long> hr(u"CQXThing::Open", 0, appId, false);
//     hr = Prepare();
//     if (hr < 0) hr.LogError(u"Prepare failed: %s", name);
//     return hr;
//   }
//
// Every line goes to WriteLog of the logging component, which decides by its settings whether to
// record it. Logging never fails the calling function: without the component a scope logs nothing,
// and exceptions on the way are swallowed. A scope belongs to one thread.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/logging/qx_logger.h"
#include "qxframework/xml/dom_forward.h"

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qx {

/// The longest message, in UTF-16 units; a longer one is cut without a mark.
inline constexpr std::size_t kMaxLogMessage = 1023;

/// Returns the module name that every record carries: empty until CQXAddOn sets it, read only from
/// then on.
QX_API CComBSTR& logModuleName();

/// Returns a new instance of the logging component. If there is none, writes a line to the
/// developer trace and returns null.
QX_API CComPtr<QXLoggerLib::IQXLogger> createLogger();

/// Formats the message and writes it. Returns E_FAIL for a level outside 1 to 6, else the result of
/// the logger, or 0 if there is no logger or anything was thrown.
QX_API long writeLogMessage(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                            QXLoggerLib::HvSeverityLevel level, const OLECHAR* format,
                            FormatArgs args) noexcept;

/// Writes the line at the start of a scope, at level Debug2. Its message is a constant and not
/// formatted, because nearly all scopes write it and most settings do not record it.
QX_API void writeEnteringLine(QXLoggerLib::IQXLogger* logger, long appId,
                              const _bstr_t& function) noexcept;
/// Returns the result of createLogger(), after writing the entering line to it unless `quiet`.
QX_API CComPtr<QXLoggerLib::IQXLogger> enterScope(const _bstr_t& function, long appId, bool quiet);
/// Writes the line at the end of a scope in the same way, with the name of the result if it has
/// one.
QX_API void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId, const _bstr_t& function,
                             long result) noexcept;
QX_API void writeLeavingLine(QXLoggerLib::IQXLogger* logger, long appId,
                             const _bstr_t& function) noexcept;

/// Returns a view of a text in an array, up to its terminator. If the array is a literal, the
/// compiler knows the length: nearly every function makes a string of its name.
template <std::size_t N>
[[gnu::always_inline]] inline std::u16string_view viewOfArray(const OLECHAR (&text)[N]) {
  if constexpr (N > 1) {
    // Of a buffer that is filled at run time the compiler knows nothing, and of an array that is
    // longer than its text it knows the zeros.
    if (__builtin_constant_p(text[N - 1] == 0 && text[N - 2] != 0) && text[N - 1] == 0 &&
        text[N - 2] != 0) {
      return {text, N - 1};
    }
  }
  return viewOf(text);
}

/// Writes the sentence for `code` into the buffer, cut to its size, with a terminating zero.
QX_API void copyErrorText(unsigned long code, OLECHAR (&buffer)[1024]);
/// Shows a modal error box of the system, see CLogBase::ErrorBox.
QX_API void showErrorBox(const OLECHAR* title, const OLECHAR* format, FormatArgs args);

/// The values of a scope that can be null: pointers and texts.
template <class T>
concept ComparesWithNull = requires(const T& value) {
  value == nullptr;
};

/// Returns the text of a scope's value for its leaving line.
QX_API std::u16string printableValue(long value);
/// Returns "true" or "false". Takes bool itself only; other integers are result codes.
template <std::same_as<bool> Bool>
std::u16string_view printableValue(Bool value) {
  return value ? u"true" : u"false";
}
inline const CComBSTR& printableValue(const CComBSTR& value) { return value; }
inline std::u16string_view printableValue(const CString& value) { return value.View(); }
/// Returns the name of the node, or "null".
QX_API CComBSTR printableValue(const CComPtr<IXMLDOMNode>& value);

}  // namespace qx

/// The log calls of a scope. T is the scope itself: each instantiation has its own buffer for
/// xstrerror.
template <class T>
class QX_API CLogBase {
 public:
  /// Creates a logger and writes the entering line. `function` is the qualified name that every
  /// record carries, `appId` the number of the client, 0 while it is not known. If `quiet` is true
  /// neither the entering nor the leaving line is written; the log calls still work.
  CLogBase(_bstr_t function, long appId, bool quiet)
      : m_lAppId(appId),
        m_bstrFunction(std::move(function)),
        m_bQuiet(quiet),
        ptrQXLogger(qx::enterScope(m_bstrFunction, appId, quiet)) {}
  /// The same for a name in an array, usually a literal, without a second string on the way.
  template <std::size_t N>
  CLogBase(const OLECHAR (&function)[N], long appId, bool quiet)
      : m_lAppId(appId),
        m_bstrFunction(qx::viewOfArray(function)),
        m_bQuiet(quiet),
        ptrQXLogger(qx::enterScope(m_bstrFunction, appId, quiet)) {}

  /// Writes a formatted line at the level of its name. Line ends are neither added nor removed.
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

  /// Shows a modal box of the system, for the time before the host can show one. The caption is
  /// "<title> Error", or "Error" if the title is null or empty, cut to 255 units; the text is cut
  /// to 1023.
  template <class... Args>
  static void ErrorBox(const OLECHAR* title, const OLECHAR* format, const Args&... args) {
    if constexpr (sizeof...(Args) == 0) {
      qx::showErrorBox(title, format, {});
    } else {
      const qx::FormatArg list[] = {qx::FormatArg(args)...};
      qx::showErrorBox(title, format, list);
    }
  }

  /// Returns the sentence for a result code. The text is valid until the next call on this
  /// instantiation, on any thread.
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

/// The scope of a function that returns a T. It converts to T and is assigned from T, so that the
/// function can use it as its result variable. Its destructor writes the leaving line with the last
/// value, also when an exception unwinds the function.
template <class T>
class QX_API CReturnValue : public CLogBase<CReturnValue<T>> {
 public:
  CReturnValue(_bstr_t function, T initial, long appId, bool quiet = false)
      : CLogBase<CReturnValue<T>>(std::move(function), appId, quiet), m_value(initial) {
    *this = m_value;  // the assignment extends the sign of a code
  }
  template <std::size_t N>
  CReturnValue(const OLECHAR (&function)[N], T initial, long appId, bool quiet = false)
      : CLogBase<CReturnValue<T>>(function, appId, quiet), m_value(initial) {
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
    // `long` has 64 bits, so a literal such as 0x80004005 arrives as a positive number.
    if constexpr (std::is_same_v<T, long>) {
      m_value = qx::resultCode(value);
    } else {
      m_value = value;
    }
    return *this;
  }
  operator const T&() const { return m_value; }
  /// True if a pointer or a text is null.
  friend bool operator==(const CReturnValue& result,
                         std::nullptr_t) requires qx::ComparesWithNull<T> {
    return result.m_value == nullptr;
  }
  /// Compares a result code with a literal such as 0x80040500, by the lower 32 bits.
  template <std::unsigned_integral Code>
  friend bool operator==(const CReturnValue& result, Code code) requires std::same_as<T, long> {
    return result.m_value == qx::resultCode(static_cast<std::int64_t>(code));
  }
  /// Writes the value as the leaving line prints it; a code by its name.
  void ToString(CComBSTR& out) const {
    out = CComBSTR(qx::format(u"%s", qx::printableValue(m_value)));
  }

 private:
  void WriteLeavingLine() {
    try {
      this->LogDbg2(u"Leaving function [%s]\n", qx::printableValue(m_value));
    } catch (...) {
      // The value cannot be printed; the line is lost, and the destructor must not throw.
    }
  }

  T m_value;
};

/// The scope of a function without a result.
template <>
class QX_API CReturnValue<void> : public CLogBase<CReturnValue<void>> {
 public:
  CReturnValue(_bstr_t function, long appId, bool quiet = false)
      : CLogBase<CReturnValue<void>>(std::move(function), appId, quiet) {}
  template <std::size_t N>
  CReturnValue(const OLECHAR (&function)[N], long appId, bool quiet = false)
      : CLogBase<CReturnValue<void>>(function, appId, quiet) {}
  CReturnValue(const CReturnValue&) = default;
  CReturnValue& operator=(const CReturnValue&) = default;
  ~CReturnValue() {
    if (!m_bQuiet) qx::writeLeavingLine(ptrQXLogger, m_lAppId, m_bstrFunction);
  }
  void ToString(CComBSTR& out) const { out = u"(void)"; }
};

extern template class CLogBase<long>;
extern template class CLogBase<CReturnValue<void>>;
extern template class CLogBase<CReturnValue<long>>;
extern template class CLogBase<CReturnValue<CComBSTR>>;
extern template class CLogBase<CReturnValue<CString>>;
extern template class CLogBase<CReturnValue<CComPtr<IXMLDOMNode>>>;
