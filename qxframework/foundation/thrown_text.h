#pragma once

// Exceptions that are plain texts. Add-ons catch them by pointer, so they stay pointers.

#include "qxframework/automation/types.h"

namespace qx {

/// Throws the pointer itself as a `char*`, which handlers for `char*` and for `const char*` both
/// catch; a pointer to const would reach only the second. `text` must live until the program ends,
/// and a handler must not write to it.
[[noreturn]] inline void throwText(const char* text) { throw const_cast<char*>(text); }
/// Throws a wide text in the same way, as an `OLECHAR*`.
[[noreturn]] inline void throwText(const OLECHAR* text) { throw const_cast<OLECHAR*>(text); }

}  // namespace qx
