#pragma once

// The menus and their entries.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/menu.h"

#include <memory>

namespace qx::screens {

/// Returns the entries under `father`.
CComPtr<IMenus> makeMenus(std::shared_ptr<Client> client, const std::shared_ptr<MenuEntry>& father);

}  // namespace qx::screens
