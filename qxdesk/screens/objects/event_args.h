#pragma once

// The objects that describe events to the sinks of add-ons.

#include "qxdesk/screens/model/desk_events.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

namespace qx::screens {

/// Returns the object that describes the event to a sink: IItemEvent, IMenuEvent, IContextMenuInfo
/// or IBusinessObjectInfo; a plain IDispatch for progress bar, print and report events. Returns
/// null for an event whose arguments are values. The object is a copy, so a sink may keep it.
CComPtr<IDispatch> makeEventArgument(const Event& event);

}  // namespace qx::screens
