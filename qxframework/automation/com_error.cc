#include "qxframework/automation/com_error.h"

// Defined here so that the type information of the exception exists once, in this library. Handlers
// in other libraries would not recognise a copy of it.
_com_error::~_com_error() = default;

const OLECHAR* _com_error::ErrorMessage() const {
  switch (m_code) {
    case S_OK:
      return u"The operation completed.";
    case E_NOTIMPL:
      return u"Not implemented.";
    case E_NOINTERFACE:
      return u"No such interface supported.";
    case E_POINTER:
      return u"Invalid pointer.";
    case E_ABORT:
      return u"Operation aborted.";
    case E_FAIL:
      return u"Unspecified error.";
    case E_UNEXPECTED:
      return u"Catastrophic failure.";
    case E_ACCESSDENIED:
      return u"Access is denied.";
    case E_HANDLE:
      return u"The handle is invalid.";
    case E_OUTOFMEMORY:
      return u"Not enough memory.";
    case E_INVALIDARG:
      return u"The parameter is incorrect.";
    case DISP_E_TYPEMISMATCH:
      return u"Type mismatch.";
    case DISP_E_OVERFLOW:
      return u"Out of present range.";
    case DISP_E_BADINDEX:
      return u"Invalid index.";
    case DISP_E_MEMBERNOTFOUND:
      return u"Member not found.";
    case REGDB_E_CLASSNOTREG:
      return u"Class not registered.";
    case CO_E_DLLNOTFOUND:
      return u"The library of the class does not load.";
    case CO_E_CLASSSTRING:
      return u"Invalid class string.";
    case CONNECT_E_NOCONNECTION:
      return u"There is no such connection.";
    case CONNECT_E_CANNOTCONNECT:
      return u"The sink cannot be connected.";
    default:
      return u"Unknown error.";
  }
}

namespace qx {

void raiseError(HRESULT code) { throw _com_error(code); }

}  // namespace qx
