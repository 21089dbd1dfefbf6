#pragma once

// The sentences of the result codes that mean the same in every program. They take the place of a
// message table of the operating system, which has none for these codes here.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

namespace qx {

/// Returns the English sentence of a standard code, with its full stop; null for any other code.
/// The code counts as a 32-bit value. The text lives as long as the program.
QX_API const OLECHAR* systemMessage(HRESULT code);

}  // namespace qx
