#pragma once

// The menu bar of the client: a tree of entries, each with a UID that is unique in the whole tree.
// gui_api.h states the rules of all host interfaces.
//
// When the client changes its language or company it builds the bar anew, without entries of
// add-ons; the framework then restores the common menu, and an add-on restores its own entries. An
// object of a removed entry refuses every call with -7026.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IMenus;
class IMenuItem;

/// The entries directly below the menu bar or below one popup.
class IMenus : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0118);
  /// Returns the number of entries directly below, without those of their popups.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns an entry, by index from 0 among those directly below, or by UID at any depth below.
  /// Unlike the other collections it returns null, without an error, if there is none.
  virtual HRESULT raw_Item(const VARIANT& uid, IMenuItem** out) = 0;
  /// Adds an entry at `position`, counted from 0, and returns it; -1 or a position beyond the end
  /// appends it. Refused: an empty `uid`, or a parent that is no popup, with -7026; a UID that is
  /// taken with -7130; a `type` outside the enumeration with -7132; a position below -1 with -7133.
  virtual HRESULT raw_Add(BSTR uid, BSTR text, HvMenuType type, long position, IMenuItem** out) = 0;
  /// Removes an entry at any depth below, with all below it. Refused: null with E_POINTER, an
  /// object of another host with E_INVALIDARG, an entry elsewhere with -7026, one of the client's
  /// own with -7027.
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

/// One entry of the menu bar.
class IMenuItem : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0119);
  /// Returns the UID, by which menu events name the entry.
  virtual HRESULT raw_GetUID(BSTR* out) = 0;
  /// Returns the caption.
  virtual HRESULT raw_GetString(BSTR* out) = 0;
  /// Returns the kind of the entry.
  virtual HRESULT raw_GetType(HvMenuType* out) = 0;
  /// Returns the entries below. Never null: an entry that is no popup has an empty collection, to
  /// which nothing can be added.
  virtual HRESULT raw_GetSubMenus(IMenus** out) = 0;
  /// True if the entry has a check mark.
  virtual HRESULT raw_GetChecked(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutChecked(VARIANT_BOOL checked) = 0;
  /// True if the user can pick the entry, provided that its parents are enabled too.
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
