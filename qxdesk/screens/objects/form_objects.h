#pragma once

// The list of open forms, and a form.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/form.h"

#include <memory>

namespace qx::screens {

/// Returns the open forms.
CComPtr<IForms> makeForms(std::shared_ptr<Client> client);

}  // namespace qx::screens
