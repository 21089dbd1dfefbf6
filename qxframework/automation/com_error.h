#pragma once

// The exception that carries a result code, and the functions that throw it.

#include "qxframework/automation/types.h"

/// The exception that carries a result code. It is the only one that the host wrappers throw.
class QX_API _com_error {
 public:
  explicit _com_error(HRESULT code) : m_code(qx::resultCode(code)) {}
  virtual ~_com_error();
  /// Returns the sign-extended code, which also compares with literals such as 0x80040500.
  qx::ResultCode Error() const { return qx::ResultCode(m_code); }
  /// Returns an English sentence for the code, "Unknown error." for an unlisted one; never null.
  const OLECHAR* ErrorMessage() const;

 private:
  HRESULT m_code;
};

namespace qx {

/// Throws _com_error with `code`.
QX_API void raiseError [[noreturn]] (HRESULT code);
/// Throws _com_error if `code` is negative, else returns it.
inline HRESULT raiseIfFailed(HRESULT code) {
  if (code < 0) raiseError(code);
  return code;
}

}  // namespace qx
