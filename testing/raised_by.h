#pragma once

#include "qxframework/automation/com_error.h"

namespace qx::test {

/// The code of the _com_error that the operation raises; 0 for none.
template <class Operation>
HRESULT raisedBy(Operation&& operation) {
  try {
    operation();
  } catch (const _com_error& error) {
    return error.Error();
  }
  return 0;
}

}  // namespace qx::test
