#pragma once

#include "qxdesk/screens/objects/client.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

#include <memory>

namespace qx::screens {

/// The object behind an item: IButton, IStaticText, IEditText, IComboBox or IMatrix.
CComPtr<IDispatch> makeControl(std::shared_ptr<Client> client,
                               const std::shared_ptr<FormModel>& form,
                               const std::shared_ptr<ItemModel>& item);

/// The object behind a matrix: IMatrix.
CComPtr<IDispatch> makeMatrix(std::shared_ptr<Client> client,
                              const std::shared_ptr<FormModel>& form,
                              const std::shared_ptr<ItemModel>& item);

/// The object behind a combo box: IComboBox.
CComPtr<IDispatch> makeComboBox(std::shared_ptr<Client> client,
                                const std::shared_ptr<FormModel>& form,
                                const std::shared_ptr<ItemModel>& item);

}  // namespace qx::screens
