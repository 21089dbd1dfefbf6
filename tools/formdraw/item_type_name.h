#pragma once

// The name of an item type, as the page of the stand-in host knows it.

#include "qxframework/host/item_types.h"

namespace qx::formdraw {

/// Returns the name of a qx::ItemType. A type that the host does not draw otherwise is a label.
constexpr const char* itemTypeName(long type) {
  switch (type) {
    case kButton:
      return "button";
    case kEditText:
      return "edit";
    case kComboBox:
      return "combo";
    case kMatrix:
      return "matrix";
    default:
      return "static";
  }
}

}  // namespace qx::formdraw
