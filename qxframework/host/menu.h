#pragma once

// The menu bar of the client.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IMenus;
class IMenuItem;

class IMenus : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0118);
  virtual HRESULT raw_Count(long* out) = 0;
  /// By index from 0 or by UID at any depth below; a miss gives null, not an error.
  virtual HRESULT raw_Item(const VARIANT& uid, IMenuItem** out) = 0;
  virtual HRESULT raw_Add(BSTR uid, BSTR text, HvMenuType type, long position, IMenuItem** out) = 0;
  virtual HRESULT raw_Remove(IMenuItem* item) = 0;

  long Count() { return qx::getValue<long>(this, &IMenus::raw_Count); }
  CComPtr<IMenuItem> Item(const CComVariant& uid) {
    return qx::getObject<IMenuItem>(this, &IMenus::raw_Item, uid);
  }
  CComPtr<IMenuItem> Add(const CComBSTR& uid, const CComBSTR& text, HvMenuType type,
                         long position) {
    return qx::getObject<IMenuItem>(this, &IMenus::raw_Add, uid.m_str, text.m_str, type, position);
  }
  HRESULT Remove(IMenuItem* item) { return qx::call(this, &IMenus::raw_Remove, item); }

 protected:
  ~IMenus() = default;
};

class IMenuItem : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0119);
  virtual HRESULT raw_GetUID(BSTR* out) = 0;
  virtual HRESULT raw_GetString(BSTR* out) = 0;
  virtual HRESULT raw_GetType(HvMenuType* out) = 0;
  virtual HRESULT raw_GetSubMenus(IMenus** out) = 0;
  virtual HRESULT raw_GetChecked(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutChecked(VARIANT_BOOL checked) = 0;
  virtual HRESULT raw_GetEnabled(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutEnabled(VARIANT_BOOL enabled) = 0;

  CComBSTR GetUID() { return qx::getText(this, &IMenuItem::raw_GetUID); }
  CComBSTR GetString() { return qx::getText(this, &IMenuItem::raw_GetString); }
  HvMenuType GetType() { return qx::getValue<HvMenuType>(this, &IMenuItem::raw_GetType); }
  CComPtr<IMenus> GetSubMenus() { return qx::getObject<IMenus>(this, &IMenuItem::raw_GetSubMenus); }
  VARIANT_BOOL GetChecked() { return qx::getValue<VARIANT_BOOL>(this, &IMenuItem::raw_GetChecked); }
  HRESULT PutChecked(VARIANT_BOOL checked) {
    return qx::call(this, &IMenuItem::raw_PutChecked, checked);
  }
  VARIANT_BOOL GetEnabled() { return qx::getValue<VARIANT_BOOL>(this, &IMenuItem::raw_GetEnabled); }
  HRESULT PutEnabled(VARIANT_BOOL enabled) {
    return qx::call(this, &IMenuItem::raw_PutEnabled, enabled);
  }

 protected:
  ~IMenuItem() = default;
};
