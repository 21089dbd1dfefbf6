#pragma once

#include "qxframework/automation/types.h"

/// The exception that carries a result code. It is the only one that host wrappers raise.
class QX_API _com_error {
 public:
  explicit _com_error(HRESULT code) : m_code(qx::resultCode(code)) {}
  virtual ~_com_error();
  HRESULT Error() const { return m_code; }
  /// A sentence in English for the code; never null.
  const OLECHAR* ErrorMessage() const;

 private:
  HRESULT m_code;
};

namespace qx {

/// Raises _com_error for a negative code.
QX_API void raiseError [[noreturn]] (HRESULT code);
inline HRESULT raiseIfFailed(HRESULT code) {
  if (code < 0) raiseError(code);
  return code;
}

}  // namespace qx
