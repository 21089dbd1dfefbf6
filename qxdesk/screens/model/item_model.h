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

/// How an edit is drawn.
struct EditStyle {
  long foreColor = -1;  ///< -1: as other edits
  long backColor = -1;
  long textStyle = 0;
  long fontSize = 0;  ///< 0: as other edits
  bool suppressesZeros = false;
};

/// An item of a form. `combo` and `matrix` are set for items of these types and null for others.
struct ItemModel {
  std::u16string uid;  ///< stays the same while the item is in a form
  long type = 0;       ///< a qx::ItemType
  Rect rect;
  long fromPane = 0;
  long toPane = 0;
  bool visible = true;
  bool enabled = true;
  bool showsDescription = false;  ///< the description of a value in place of the value
  bool rightJustified = false;
  std::u16string description;
  std::u16string linkTo;        ///< UID of the item that a label belongs to
  std::u16string caption;       ///< of a button or static text
  BoundText text;               ///< of an edit
  EditStyle style;              ///< of an edit
  bool affectsFormMode = true;  ///< a change takes the form out of OK mode
  bool changed = false;         ///< the user has typed into it since its last validation
  std::unique_ptr<ComboModel> combo;
  std::unique_ptr<MatrixModel> matrix;

  /// True if the item is on that pane of its form. One whose range is 0 to 0 is on every pane.
  bool isOnPane(long pane) const {
    return (fromPane == 0 && toPane == 0) || (fromPane <= pane && pane <= toPane);
  }
};

}  // namespace qx::screens
