#pragma once

#include "qxframework/automation/types.h"

namespace qx {

/// Throws the pointer itself, as a `char*`: unlike a pointer to const it is caught both as `char*`
/// and as `const char*`. `text` must live for ever and nobody may write through what is caught.
[[noreturn]] inline void throwText(const char* text) { throw const_cast<char*>(text); }
/// The same for a wide text, thrown as an `OLECHAR*`.
[[noreturn]] inline void throwText(const OLECHAR* text) { throw const_cast<OLECHAR*>(text); }

}  // namespace qx
