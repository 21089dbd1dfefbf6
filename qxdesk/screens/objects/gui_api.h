#pragma once

// The entry object, through which an add-on connects.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/gui_api.h"

namespace qx::screens {

/// Returns a new entry object, which is not connected yet.
CComPtr<IHalvexGuiApi> makeGuiApi();

}  // namespace qx::screens
