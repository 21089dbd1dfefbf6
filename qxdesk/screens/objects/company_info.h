#pragma once

// The company that the user is logged in to, and the login of a company object to it.

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {

/// Returns the company that the client is logged in to.
CComPtr<IHostCompany> makeCompanyInfo(std::shared_ptr<Client> client);

/// Returns the login context for `cookie`: a text with which the company object that made the
/// cookie opens the same company.
std::u16string loginContextOf(const Desk& desk, std::u16string_view cookie);

}  // namespace qx::screens
