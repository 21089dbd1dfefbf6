// A library for the activation tests that loads but has no classes and no entry for them.

#include "qxframework/automation/export.h"

extern "C" QX_API int qxTestNothingToGive() { return 0; }
