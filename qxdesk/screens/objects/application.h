#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <memory>

namespace qx::screens {

/// The client as an add-on sees it. It answers also for IConnectionPointContainer, for IUiSession,
/// by which a company object finds the client's database, and for IDeskUser, who plays its user.
CComPtr<IApplication> makeApplication(std::shared_ptr<Client> client);

}  // namespace qx::screens
