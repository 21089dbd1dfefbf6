#pragma once

// The objects of a matrix: the control, its columns, their cells, and the texts in the cells.

#include "qxdesk/screens/objects/client.h"
#include "qxdesk/screens/objects/links.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/controls.h"

#include <memory>

namespace qx::screens {

/// Returns the control of a matrix.
CComPtr<IMatrix> makeMatrix(std::shared_ptr<Client> client, const ItemLink& link);

}  // namespace qx::screens
