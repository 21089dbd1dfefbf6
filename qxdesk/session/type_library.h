#pragma once

// The type information of the host's objects, as far as add-ons read it: the version of their
// library, which goes into an add-on's start report.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/type_info.h"

namespace qx::desk {

/// Returns a type information that leads to the library `id`, of version 9.20.
CComPtr<ITypeInfo> makeTypeInfo(const GUID& id);

}  // namespace qx::desk
