#pragma once

// The point to which add-ons attach their event sinks.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/connection_point.h"

#include <memory>

namespace qx::screens {

/// Returns the connection point to which an add-on attaches its event sink.
CComPtr<IConnectionPoint> makeConnectionPoint(std::shared_ptr<Client> client);

}  // namespace qx::screens
