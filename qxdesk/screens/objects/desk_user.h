#pragma once

// The user of the desk, as tests and demonstrations play it from outside of this library.

#include "qxdesk/screens/objects/client.h"
#include "qxdesk/screens/user/user.h"
#include "qxframework/automation/com_ptr.h"

#include <memory>

namespace qx::screens {

/// Returns the object that plays the user of the client.
CComPtr<desk::IDeskUser> makeDeskUser(std::shared_ptr<Client> client);

}  // namespace qx::screens
