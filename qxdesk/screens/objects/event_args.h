#pragma once

#include "qxdesk/screens/model/desk_events.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

namespace qx::screens {

/// The object that tells a sink of the event: IItemEvent, IMenuEvent, IContextMenuInfo,
/// IBusinessObjectInfo, or for progress bar, print and report events a plain IDispatch. Null for
/// an event whose arguments are values. It is a copy: it stays true when the client goes on.
CComPtr<IDispatch> makeEventArgument(const Event& event);

}  // namespace qx::screens
