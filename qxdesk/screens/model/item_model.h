#pragma once

#include "qxdesk/screens/model/combo_model.h"
#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/matrix_model.h"

#include <memory>
#include <string>

namespace qx::screens {

enum ItemType : long {
  kButton = 4,
  kStaticText = 8,
  kEditText = 16,
  kComboBox = 113,
  kMatrix = 127,
};

/// The buttons that every form treats alike.
inline constexpr char16_t kOkButton[] = u"1";
inline constexpr char16_t kCancelButton[] = u"2";

struct Rect {
  long left = 0;
  long top = 0;
  long width = 0;
  long height = 0;
};

/// An item of a form with its control. `combo` and `matrix` are there for items of that type alone.
struct ItemModel {
  std::u16string uid;
  long type = 0;
  Rect rect;
  long fromPane = 0;
  long toPane = 0;
  bool visible = true;
  bool enabled = true;
  std::u16string description;
  std::u16string linkTo;
  std::u16string caption;       ///< of a button or static text
  BoundText text;               ///< of an edit
  bool affectsFormMode = true;  ///< a change takes the form out of OK mode
  bool changed = false;         ///< typed into and not validated since
  std::unique_ptr<ComboModel> combo;
  std::unique_ptr<MatrixModel> matrix;

  /// True when a user can reach it.
  bool usable() const { return visible && enabled; }
};

}  // namespace qx::screens
