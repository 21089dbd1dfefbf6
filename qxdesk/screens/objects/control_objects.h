#pragma once

// The controls of items. Those of one value are made here; combo boxes and matrices have files of
// their own.

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
