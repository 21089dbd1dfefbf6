#pragma once

#include "qxdesk/session/web_server.h"
#include "qxdesk/web/service_settings.h"
#include "qxframework/automation/com_ptr.h"

namespace qx::web {

/// Returns a new server.
CComPtr<desk::IWebServer> makeWebServer(const ServiceSettings& settings);

}  // namespace qx::web
