#pragma once

// What the host's objects tell of their libraries: a version, which the start report of an add-on
// reads.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/type_info.h"

namespace qx::desk {

/// The way from an object to the version of the library `id`, 9.20.
CComPtr<ITypeInfo> makeTypeInfo(const GUID& id);

}  // namespace qx::desk
