#pragma once

// The numbers by which the host names the types of items and of events. They are part of its
// contract with add-ons and frozen: a number never changes its meaning, and a new one never takes
// the place of an old one.

namespace qx {

/// Types of the items on a form, and of the columns of a matrix: the result of IItem::GetType and
/// IColumn::GetType, and the `type` of an item or column in a batch document.
enum ItemType : long {
  kButton = 4,
  kStaticText = 8,
  kEditText = 16,
  kComboBox = 113,
  kLinkedButton = 116,
  kMatrix = 127,
};

/// Types of item events: the result of IItemEvent::GetEventType. The four types of forms come
/// without an item.
enum ItemEventType : long {
  kItemPressed = 1,
  kKeyDown = 2,
  kClick = 6,
  kDoubleClick = 7,
  kValidate = 10,
  kFormLoad = 16,
  kFormUnload = 17,
  kFormDeactivate = 19,
  kFormClose = 20,
};

/// Types of application events: the argument of event kAppEvent.
enum AppEventType : long {
  kShutDown = 64,
  kCompanyChanged = 65,
  kLanguageChanged = 66,
  kServerTermination = 67,
};

}  // namespace qx
