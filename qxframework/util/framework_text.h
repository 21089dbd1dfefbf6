#pragma once

// The framework's own module and its texts.

#include "qxframework/automation/bstr.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

namespace qx {

/// The internal name in the version block of the framework's module, by which it is found.
inline constexpr OLECHAR kFrameworkModule[] = u"QXFramework.dll";

/// Returns null if no loaded module has that name.
HINSTANCE frameworkModule();

/// Returns string `id` of the framework's module in `language`, or an empty text if it has none.
CComBSTR frameworkText(unsigned id, HvLanguages language);

}  // namespace qx
