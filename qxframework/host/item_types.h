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
  kItemPressed = 1,      ///< a button, after its click
  kKeyDown = 2,          ///< a key in an item
  kClick = 6,            ///< the mouse on an item or a cell, or a choice in a combo box
  kDoubleClick = 7,      ///< after two clicks
  kValidate = 10,        ///< the user leaves an edit whose text has changed
  kFormLoad = 16,        ///< a form opens
  kFormUnload = 17,      ///< after kFormClose; after the action the form no longer exists
  kFormDeactivate = 19,  ///< another form comes to the front
  kFormClose = 20,       ///< a form is to be closed
};

/// Types of application events: the argument of event kAppEvent. They cannot be
/// vetoed.
enum AppEventType : long {
  kShutDown = 64,           ///< the client ends; the framework stops the add-on
  kCompanyChanged = 65,     ///< the client is logged in to another company
  kLanguageChanged = 66,    ///< IApplication::GetLanguage has a new value
  kServerTermination = 67,  ///< the server of the client ends; the add-on stops as for kShutDown
};

}  // namespace qx
