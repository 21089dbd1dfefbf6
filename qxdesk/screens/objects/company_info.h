#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {

/// The company that the client is logged in to.
CComPtr<IHostCompany> makeCompanyInfo(std::shared_ptr<Client> client);

/// What lets a company object that gave the cookie open the client's company.
std::u16string loginContextOf(const Desk& desk, std::u16string_view cookie);

}  // namespace qx::screens
