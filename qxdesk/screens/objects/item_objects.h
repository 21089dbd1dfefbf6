#pragma once

// The items and the data sources of a form.

#include "qxdesk/screens/objects/client.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/form.h"

#include <memory>

namespace qx::screens {

/// Returns the items of a form.
CComPtr<IItems> makeItems(std::shared_ptr<Client> client, const FormLink& link);
/// Returns the data sources of a form.
CComPtr<IDataSources> makeDataSources(std::shared_ptr<Client> client, const FormLink& link);

}  // namespace qx::screens
