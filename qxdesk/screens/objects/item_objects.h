#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/form.h"

#include <memory>

namespace qx::screens {

CComPtr<IItems> makeItems(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form);
CComPtr<IDataSources> makeDataSources(std::shared_ptr<Client> client,
                                      const std::shared_ptr<FormModel>& form);

}  // namespace qx::screens
