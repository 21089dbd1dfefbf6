#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/connection_point.h"

#include <memory>

namespace qx::screens {

/// The point at which sinks for the client's events are attached.
CComPtr<IConnectionPoint> makeConnectionPoint(std::shared_ptr<Client> client);

}  // namespace qx::screens
