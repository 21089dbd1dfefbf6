#pragma once

#include "qxframework/automation/com_error.h"

namespace qx::test {

/// Returns the code of the _com_error that the operation throws, 0 if it throws none.
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
