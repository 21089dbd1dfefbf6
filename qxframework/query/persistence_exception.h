#pragma once

#include "qxframework/automation/bstr.h"

#include <exception>

namespace Persistence {

/// The failure of an operation of the persistence layer, thrown by value: a text and a code. They
/// are the host's, if the host reports any.
class QX_API CQXPersistenceException : public std::exception {
 public:
  /// Has the text "Unknown error" and the code -1.
  CQXPersistenceException();
  /// Has the code -1.
  explicit CQXPersistenceException(const OLECHAR* text);
  CQXPersistenceException(long code, const OLECHAR* text);
  CQXPersistenceException(const CQXPersistenceException& other) = default;
  CQXPersistenceException& operator=(const CQXPersistenceException& other) = default;
  ~CQXPersistenceException() override;

  /// Returns the text, valid until it is set or the exception is destroyed; null if set to null.
  const OLECHAR* GetErrorString() const { return m_ErrorString; }
  long GetErrorCode() const { return m_ErrorCode; }
  void SetErrorString(const OLECHAR* text) { m_ErrorString = text; }
  void SetErrorCode(long code) { m_ErrorCode = code; }

 private:
  CComBSTR m_ErrorString;
  long m_ErrorCode;
};

}  // namespace Persistence
