#pragma once

#include "qxframework/automation/bstr.h"

#include <exception>

namespace Persistence {

/// The failure of an operation of this layer, thrown by value: a text and a code, the host's own
/// where it has them.
class QX_API CQXPersistenceException : public std::exception {
 public:
  /// "Unknown error" and -1.
  CQXPersistenceException();
  /// Code -1.
  explicit CQXPersistenceException(const OLECHAR* text);
  CQXPersistenceException(long code, const OLECHAR* text);
  CQXPersistenceException(const CQXPersistenceException& other) = default;
  CQXPersistenceException& operator=(const CQXPersistenceException& other) = default;
  ~CQXPersistenceException() override;

  /// Lives as long as the exception does, or until the text is set; null if it was set to null.
  const OLECHAR* GetErrorString() const { return m_ErrorString; }
  long GetErrorCode() const { return m_ErrorCode; }
  void SetErrorString(const OLECHAR* text) { m_ErrorString = text; }
  void SetErrorCode(long code) { m_ErrorCode = code; }

 private:
  CComBSTR m_ErrorString;
  long m_ErrorCode;
};

}  // namespace Persistence
