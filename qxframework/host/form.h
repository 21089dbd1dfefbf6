#pragma once

// The open forms of the client and what they hold: items, controls and data sources. gui_api.h
// states the rules of all host interfaces.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IForm;
class IItems;
class IItem;
class IDataSources;
class IUserDataSources;
class IUserDataSource;

/// All open forms of the client, its own and those of add-ons, in the order of opening. A form that
/// is not there is refused with -7008 (form not found).
class IForms : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0106);
  /// Returns the number of open forms. The form 169, which owns the menu bar, is one of them.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns the form with the index or UID.
  virtual HRESULT raw_Item(const VARIANT& index, IForm** out) = 0;
  /// Returns the form with exactly this UID.
  virtual HRESULT raw_GetFormByUID(BSTR uid, IForm** out) = 0;
  /// Returns the `count`-th open form of the type, counted from 1. Only forms whose type text is
  /// the decimal number `type` are found.
  virtual HRESULT raw_GetFormByTypeAndCount(long type, long count, IForm** out) = 0;
  /// Returns the selected form.
  virtual HRESULT raw_GetActiveForm(IForm** out) = 0;

  long Count() { return qx::getValue<long>(this, &IForms::raw_Count); }
  CComPtr<IForm> Item(const CComVariant& index) {
    return qx::getObject<IForm>(this, &IForms::raw_Item, index);
  }
  CComPtr<IForm> GetFormByUID(const CComBSTR& uid) {
    return qx::getObject<IForm>(this, &IForms::raw_GetFormByUID, uid.m_str);
  }
  CComPtr<IForm> GetFormByTypeAndCount(long type, long count) {
    return qx::getObject<IForm>(this, &IForms::raw_GetFormByTypeAndCount, type, count);
  }
  CComPtr<IForm> GetActiveForm() { return qx::getObject<IForm>(this, &IForms::raw_GetActiveForm); }

 protected:
  ~IForms() = default;
};

/// One open form. Sizes are in pixels.
class IForm : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0107);
  /// Returns the UID, by which events name the form. The client's own forms have UIDs that begin
  /// with "F_".
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  /// Returns the type as a text, such as "169" or a name that an add-on chose.
  virtual HRESULT raw_GetTypeEx(BSTR* out) = 0;
  /// True if this is the form in front, of which there is at most one.
  virtual HRESULT raw_GetSelected(VARIANT_BOOL* out) = 0;
  /// Stops (true) or resumes (false) the drawing of the form, for many changes in a row. Calls are
  /// counted: the form is drawn again after as many calls with false.
  virtual HRESULT raw_Freeze(VARIANT_BOOL freeze) = 0;
  /// Draws the form anew.
  virtual HRESULT raw_Update() = 0;
  /// Returns the items of the form.
  virtual HRESULT raw_GetItems(IItems** out) = 0;
  /// Returns the data sources of the form.
  virtual HRESULT raw_GetDataSources(IDataSources** out) = 0;
  /// Closes the form with its events qx::kFormClose and qx::kFormUnload. While an event of the form
  /// is being handled it closes at the end of that event. Returns S_FALSE if an add-on vetoes. Form
  /// 169 is refused with -7002.
  virtual HRESULT raw_Close() = 0;
  /// True if the form is shown.
  virtual HRESULT raw_GetVisible(VARIANT_BOOL* out) = 0;
  /// Shows the form and selects it, or hides it and selects the form that was in front before.
  virtual HRESULT raw_PutVisible(VARIANT_BOOL visible) = 0;
  /// Brings the form to the front, with event qx::kFormDeactivate for the one that leaves it.
  /// Returns S_FALSE if an add-on vetoes.
  virtual HRESULT raw_Select() = 0;
  /// Returns the mode: 0 find, 1 OK, 2 update, 3 add.
  virtual HRESULT raw_GetMode(long* out) = 0;
  /// Sets the mode. A number outside 0 to 3 is refused with -7067.
  virtual HRESULT raw_PutMode(long mode) = 0;
  /// Returns the UID of the button that the Enter key presses; empty if there is none.
  virtual HRESULT raw_GetDefaultItem(BSTR* out) = 0;
  /// Sets that button by its UID; the empty text sets none. A UID that is not on the form is
  /// refused with -7066.
  virtual HRESULT raw_PutDefaultItem(BSTR uid) = 0;
  /// Returns the text of the title bar.
  virtual HRESULT raw_GetTitle(BSTR* out) = 0;
  virtual HRESULT raw_PutTitle(BSTR title) = 0;
  /// Returns the outer height. A negative size is refused with -7063, here and below.
  virtual HRESULT raw_GetHeight(long* out) = 0;
  virtual HRESULT raw_PutHeight(long height) = 0;
  virtual HRESULT raw_GetWidth(long* out) = 0;
  virtual HRESULT raw_PutWidth(long width) = 0;
  /// Returns the height inside the frame. Setting it changes the outer height.
  virtual HRESULT raw_GetClientHeight(long* out) = 0;
  virtual HRESULT raw_PutClientHeight(long height) = 0;
  virtual HRESULT raw_GetClientWidth(long* out) = 0;
  virtual HRESULT raw_PutClientWidth(long width) = 0;

  CComBSTR GetUniqueID() { return qx::getText(this, &IForm::raw_GetUniqueID); }
  CComBSTR GetTypeEx() { return qx::getText(this, &IForm::raw_GetTypeEx); }
  VARIANT_BOOL GetSelected() { return qx::getValue<VARIANT_BOOL>(this, &IForm::raw_GetSelected); }
  HRESULT Freeze(VARIANT_BOOL freeze) { return qx::call(this, &IForm::raw_Freeze, freeze); }
  HRESULT Update() { return qx::call(this, &IForm::raw_Update); }
  CComPtr<IItems> GetItems() { return qx::getObject<IItems>(this, &IForm::raw_GetItems); }
  CComPtr<IDataSources> GetDataSources() {
    return qx::getObject<IDataSources>(this, &IForm::raw_GetDataSources);
  }
  HRESULT Close() { return qx::call(this, &IForm::raw_Close); }
  VARIANT_BOOL GetVisible() { return qx::getValue<VARIANT_BOOL>(this, &IForm::raw_GetVisible); }
  HRESULT PutVisible(VARIANT_BOOL visible) {
    return qx::call(this, &IForm::raw_PutVisible, visible);
  }
  HRESULT Select() { return qx::call(this, &IForm::raw_Select); }
  long GetMode() { return qx::getValue<long>(this, &IForm::raw_GetMode); }
  HRESULT PutMode(long mode) { return qx::call(this, &IForm::raw_PutMode, mode); }
  CComBSTR GetDefaultItem() { return qx::getText(this, &IForm::raw_GetDefaultItem); }
  HRESULT PutDefaultItem(const CComBSTR& uid) {
    return qx::call(this, &IForm::raw_PutDefaultItem, uid.m_str);
  }
  CComBSTR GetTitle() { return qx::getText(this, &IForm::raw_GetTitle); }
  HRESULT PutTitle(const CComBSTR& title) {
    return qx::call(this, &IForm::raw_PutTitle, title.m_str);
  }
  long GetHeight() { return qx::getValue<long>(this, &IForm::raw_GetHeight); }
  HRESULT PutHeight(long height) { return qx::call(this, &IForm::raw_PutHeight, height); }
  long GetWidth() { return qx::getValue<long>(this, &IForm::raw_GetWidth); }
  HRESULT PutWidth(long width) { return qx::call(this, &IForm::raw_PutWidth, width); }
  long GetClientHeight() { return qx::getValue<long>(this, &IForm::raw_GetClientHeight); }
  HRESULT PutClientHeight(long height) {
    return qx::call(this, &IForm::raw_PutClientHeight, height);
  }
  long GetClientWidth() { return qx::getValue<long>(this, &IForm::raw_GetClientWidth); }
  HRESULT PutClientWidth(long width) { return qx::call(this, &IForm::raw_PutClientWidth, width); }

 protected:
  ~IForm() = default;
};

/// The items of one form.
class IItems : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0108);
  /// Returns the number of items.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns the item with the index or UID. One that is not there is refused with -7001.
  virtual HRESULT raw_Item(const VARIANT& uid, IItem** out) = 0;

  long Count() { return qx::getValue<long>(this, &IItems::raw_Count); }
  CComPtr<IItem> Item(const CComVariant& uid) {
    return qx::getObject<IItem>(this, &IItems::raw_Item, uid);
  }

 protected:
  ~IItems() = default;
};

/// One item of a form: the place of a control.
class IItem : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0109);
  /// Returns the UID, by which events name the item.
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  /// Returns the kind of control: 4 button, 8 static text, 16 edit, 113 combo box, 127 matrix.
  virtual HRESULT raw_GetType(long* out) = 0;
  /// Returns the control. Query it for the interface of the item's type: IButton, IStaticText,
  /// IEditText, IComboBox or IMatrix.
  virtual HRESULT raw_GetSpecific(IDispatch** out) = 0;
  /// Clicks the item with all events of a user's click, and presses it if it is a button. Returns
  /// S_FALSE if an add-on vetoes. `mode` is 0; any other is refused with E_INVALIDARG. A hidden or
  /// disabled item is refused with -7023.
  virtual HRESULT raw_Click(long mode) = 0;
  /// True if the item is shown while its form is.
  virtual HRESULT raw_GetVisible(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutVisible(VARIANT_BOOL visible) = 0;
  /// True if the user can reach the item.
  virtual HRESULT raw_GetEnabled(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutEnabled(VARIANT_BOOL enabled) = 0;

  CComBSTR GetUniqueID() { return qx::getText(this, &IItem::raw_GetUniqueID); }
  long GetType() { return qx::getValue<long>(this, &IItem::raw_GetType); }
  CComPtr<IDispatch> GetSpecific() {
    return qx::getObject<IDispatch>(this, &IItem::raw_GetSpecific);
  }
  HRESULT Click(long mode) { return qx::call(this, &IItem::raw_Click, mode); }
  VARIANT_BOOL GetVisible() { return qx::getValue<VARIANT_BOOL>(this, &IItem::raw_GetVisible); }
  HRESULT PutVisible(VARIANT_BOOL visible) {
    return qx::call(this, &IItem::raw_PutVisible, visible);
  }
  VARIANT_BOOL GetEnabled() { return qx::getValue<VARIANT_BOOL>(this, &IItem::raw_GetEnabled); }
  HRESULT PutEnabled(VARIANT_BOOL enabled) {
    return qx::call(this, &IItem::raw_PutEnabled, enabled);
  }

 protected:
  ~IItem() = default;
};

/// The values of a form to which its controls are bound.
class IDataSources : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010A);
  /// Returns the values that the form's definition declares.
  virtual HRESULT raw_GetUserDataSources(IUserDataSources** out) = 0;

  CComPtr<IUserDataSources> GetUserDataSources() {
    return qx::getObject<IUserDataSources>(this, &IDataSources::raw_GetUserDataSources);
  }

 protected:
  ~IDataSources() = default;
};

/// The named values of one form.
class IUserDataSources : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010B);
  /// Returns the number of values.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns the value with the index or UID. One that is not there is refused with -7016.
  virtual HRESULT raw_Item(const VARIANT& uid, IUserDataSource** out) = 0;

  long Count() { return qx::getValue<long>(this, &IUserDataSources::raw_Count); }
  CComPtr<IUserDataSource> Item(const CComVariant& uid) {
    return qx::getObject<IUserDataSource>(this, &IUserDataSources::raw_Item, uid);
  }

 protected:
  ~IUserDataSources() = default;
};

/// One named value, always as text. Every control that is bound to it shows it.
class IUserDataSource : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010C);
  /// Returns the value.
  virtual HRESULT raw_GetValue(BSTR* out) = 0;
  /// Replaces the value. A text of more UTF-16 units than the declared size is refused with -7018;
  /// a size of 0 sets no limit.
  virtual HRESULT raw_PutValue(BSTR value) = 0;

  CComBSTR GetValue() { return qx::getText(this, &IUserDataSource::raw_GetValue); }
  HRESULT PutValue(const CComBSTR& value) {
    return qx::call(this, &IUserDataSource::raw_PutValue, value.m_str);
  }

 protected:
  ~IUserDataSource() = default;
};
