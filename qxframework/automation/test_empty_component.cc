// A library for the activation tests that loads and has no classes to give.

#include "qxframework/automation/export.h"

extern "C" QX_API int qxTestNothingToGive() { return 0; }
