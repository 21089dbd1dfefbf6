#pragma once

// The root of the objects that an add-on gets.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <memory>

namespace qx::screens {

/// Returns the application object, through which an add-on reaches everything else. It also answers
/// for IConnectionPointContainer (events), for IUiSession, by which a company object finds the
/// database, and for IDeskUser, which plays the user.
CComPtr<IApplication> makeApplication(std::shared_ptr<Client> client);

}  // namespace qx::screens
