#pragma once

// The objects of a combo box: the control, the list of its entries, and a single entry.

#include "qxdesk/screens/objects/client.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/controls.h"

#include <memory>

namespace qx::screens {

/// Returns the control of a combo box.
CComPtr<IComboBox> makeComboBox(std::shared_ptr<Client> client, const ItemLink& link);

}  // namespace qx::screens
