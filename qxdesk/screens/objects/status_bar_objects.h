#pragma once

// The status bar, and the progress bar in it.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <memory>

namespace qx::screens {

/// Returns the status bar.
CComPtr<IStatusBar> makeStatusBar(std::shared_ptr<Client> client);

}  // namespace qx::screens
