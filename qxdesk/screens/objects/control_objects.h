#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

#include <memory>

namespace qx::screens {

/// Returns the control of an item: IButton, IStaticText, IEditText, IComboBox or IMatrix. Throws as
/// the link does.
CComPtr<IDispatch> makeControl(std::shared_ptr<Client> client, const ItemLink& link);

}  // namespace qx::screens
