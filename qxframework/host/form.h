#pragma once

// The open forms of the client and what they hold: items, controls and data sources.

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

/// All open forms.
class IForms : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0106);
  virtual HRESULT raw_Count(long* out) = 0;
  /// By index from 0 (VT_I4) or by UID (VT_BSTR). Fails when there is none.
  virtual HRESULT raw_Item(const VARIANT& index, IForm** out) = 0;
  virtual HRESULT raw_GetFormByUID(BSTR uid, IForm** out) = 0;
  virtual HRESULT raw_GetFormByTypeAndCount(long type, long count, IForm** out) = 0;
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

class IForm : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0107);
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  virtual HRESULT raw_GetTypeEx(BSTR* out) = 0;
  virtual HRESULT raw_GetSelected(VARIANT_BOOL* out) = 0;
  /// No redrawing between -1 and 0.
  virtual HRESULT raw_Freeze(VARIANT_BOOL freeze) = 0;
  virtual HRESULT raw_Update() = 0;
  virtual HRESULT raw_GetItems(IItems** out) = 0;
  virtual HRESULT raw_GetDataSources(IDataSources** out) = 0;
  virtual HRESULT raw_Close() = 0;
  virtual HRESULT raw_GetVisible(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutVisible(VARIANT_BOOL visible) = 0;
  virtual HRESULT raw_Select() = 0;
  /// 1 is OK mode.
  virtual HRESULT raw_GetMode(long* out) = 0;
  virtual HRESULT raw_PutMode(long mode) = 0;
  virtual HRESULT raw_GetDefaultItem(BSTR* out) = 0;
  virtual HRESULT raw_PutDefaultItem(BSTR uid) = 0;
  virtual HRESULT raw_GetTitle(BSTR* out) = 0;
  virtual HRESULT raw_PutTitle(BSTR title) = 0;
  virtual HRESULT raw_GetHeight(long* out) = 0;
  virtual HRESULT raw_PutHeight(long height) = 0;
  virtual HRESULT raw_GetWidth(long* out) = 0;
  virtual HRESULT raw_PutWidth(long width) = 0;
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

class IItems : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0108);
  virtual HRESULT raw_Count(long* out) = 0;
  /// By index from 0 or by UID. Fails when there is none.
  virtual HRESULT raw_Item(const VARIANT& uid, IItem** out) = 0;

  long Count() { return qx::getValue<long>(this, &IItems::raw_Count); }
  CComPtr<IItem> Item(const CComVariant& uid) {
    return qx::getObject<IItem>(this, &IItems::raw_Item, uid);
  }

 protected:
  ~IItems() = default;
};

class IItem : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0109);
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  /// 4 button, 8 static text, 16 edit, 113 combo box, 127 matrix.
  virtual HRESULT raw_GetType(long* out) = 0;
  /// The control, to be asked for IButton, IStaticText, IEditText, IComboBox or IMatrix.
  virtual HRESULT raw_GetSpecific(IDispatch** out) = 0;
  /// `mode` is 0.
  virtual HRESULT raw_Click(long mode) = 0;
  virtual HRESULT raw_GetVisible(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutVisible(VARIANT_BOOL visible) = 0;
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

class IDataSources : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010A);
  virtual HRESULT raw_GetUserDataSources(IUserDataSources** out) = 0;

  CComPtr<IUserDataSources> GetUserDataSources() {
    return qx::getObject<IUserDataSources>(this, &IDataSources::raw_GetUserDataSources);
  }

 protected:
  ~IDataSources() = default;
};

class IUserDataSources : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010B);
  virtual HRESULT raw_Count(long* out) = 0;
  virtual HRESULT raw_Item(const VARIANT& uid, IUserDataSource** out) = 0;

  long Count() { return qx::getValue<long>(this, &IUserDataSources::raw_Count); }
  CComPtr<IUserDataSource> Item(const CComVariant& uid) {
    return qx::getObject<IUserDataSource>(this, &IUserDataSources::raw_Item, uid);
  }

 protected:
  ~IUserDataSources() = default;
};

class IUserDataSource : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010C);
  virtual HRESULT raw_GetValue(BSTR* out) = 0;
  virtual HRESULT raw_PutValue(BSTR value) = 0;

  CComBSTR GetValue() { return qx::getText(this, &IUserDataSource::raw_GetValue); }
  HRESULT PutValue(const CComBSTR& value) {
    return qx::call(this, &IUserDataSource::raw_PutValue, value.m_str);
  }

 protected:
  ~IUserDataSource() = default;
};
