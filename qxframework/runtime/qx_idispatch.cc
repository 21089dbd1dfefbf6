#include "qxframework/runtime/qx_idispatch.h"

// Not in the header: with its first operation that is not inline, the library has the only copy of
// the class's type, by which programs and the library tell handlers apart.
CQXIDispatch::~CQXIDispatch() = default;
