#include "qxframework/automation/com_error.h"

#include "qxframework/automation/system_message.h"

// Defined here so that the type information of the exception exists once, in this library. Handlers
// in other libraries would not recognise a copy of it.
_com_error::~_com_error() = default;

const OLECHAR* _com_error::ErrorMessage() const {
  const OLECHAR* sentence = qx::systemMessage(m_code);
  return sentence != nullptr ? sentence : u"Unknown error.";
}

namespace qx {

void raiseError(HRESULT code) { throw _com_error(code); }

}  // namespace qx
