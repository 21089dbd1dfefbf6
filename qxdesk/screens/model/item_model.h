#pragma once

// An item of a form together with its control.

#include "qxdesk/screens/model/combo_model.h"
#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/matrix_model.h"
#include "qxframework/host/item_types.h"

#include <memory>
#include <string>

namespace qx::screens {

/// The UIDs of the two buttons that have a meaning on every form.
inline constexpr char16_t kOkButton[] = u"1";
inline constexpr char16_t kCancelButton[] = u"2";

struct Rect {
  long left = 0;
  long top = 0;
  long width = 0;
  long height = 0;
};

/// An item of a form. `combo` and `matrix` are set for items of these types and null for others.
struct ItemModel {
  std::u16string uid;
  long type = 0;  ///< a qx::ItemType
  Rect rect;
  long fromPane = 0;
  long toPane = 0;
  bool visible = true;
  bool enabled = true;
  std::u16string description;
  std::u16string linkTo;        ///< UID of the item that a label belongs to
  std::u16string caption;       ///< of a button or static text
  BoundText text;               ///< of an edit
  bool affectsFormMode = true;  ///< a change takes the form out of OK mode
  bool changed = false;         ///< the user has typed into it since its last validation
  std::unique_ptr<ComboModel> combo;
  std::unique_ptr<MatrixModel> matrix;

  /// True if a user can reach the item.
  bool usable() const { return visible && enabled; }
};

}  // namespace qx::screens
