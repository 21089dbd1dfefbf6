#pragma once

// What the client delivers to an add-on: one dispatch call per event on the connection point of the
// event interface, with the arguments in reverse order. The veto travels as VT_BYREF | VT_BOOL: the
// handler sets it to 0 to stop the action.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/item_types.h"

namespace qx {

/// Dispatch ids of the event interface, and the arguments of each.
enum EventId : DISPID {
  kItemEvent = 100,         // form UID, IItemEvent, veto
  kMenuEvent = 101,         // IMenuEvent, veto
  kAppEvent = 102,          // type
  kStatusBarEvent = 103,    // text, type
  kProgressBarEvent = 104,  // object, veto
  kPrintEvent = 105,        // object, veto
  kReportDataEvent = 106,   // object, veto
  kRightClickEvent = 107,   // IContextMenuInfo, veto
  kFormDataEvent = 108,     // IBusinessObjectInfo, veto
};

}  // namespace qx

class IItemEvent : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011A);
  virtual HRESULT raw_GetEventType(long* out) = 0;
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetFormTypeEx(BSTR* out) = 0;
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  virtual HRESULT raw_GetItemUID(BSTR* out) = 0;
  virtual HRESULT raw_GetColUID(BSTR* out) = 0;
  virtual HRESULT raw_GetRow(long* out) = 0;
  virtual HRESULT raw_GetCharPressed(long* out) = 0;

  long GetEventType() { return qx::getValue<long>(this, &IItemEvent::raw_GetEventType); }
  VARIANT_BOOL GetBeforeAction() {
    return qx::getValue<VARIANT_BOOL>(this, &IItemEvent::raw_GetBeforeAction);
  }
  CComBSTR GetFormTypeEx() { return qx::getText(this, &IItemEvent::raw_GetFormTypeEx); }
  CComBSTR GetFormUID() { return qx::getText(this, &IItemEvent::raw_GetFormUID); }
  CComBSTR GetItemUID() { return qx::getText(this, &IItemEvent::raw_GetItemUID); }
  CComBSTR GetColUID() { return qx::getText(this, &IItemEvent::raw_GetColUID); }
  long GetRow() { return qx::getValue<long>(this, &IItemEvent::raw_GetRow); }
  long GetCharPressed() { return qx::getValue<long>(this, &IItemEvent::raw_GetCharPressed); }

 protected:
  ~IItemEvent() = default;
};

class IMenuEvent : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011B);
  virtual HRESULT raw_GetMenuUID(BSTR* out) = 0;
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetInnerEvent(VARIANT_BOOL* out) = 0;

  CComBSTR GetMenuUID() { return qx::getText(this, &IMenuEvent::raw_GetMenuUID); }
  VARIANT_BOOL GetBeforeAction() {
    return qx::getValue<VARIANT_BOOL>(this, &IMenuEvent::raw_GetBeforeAction);
  }
  VARIANT_BOOL GetInnerEvent() {
    return qx::getValue<VARIANT_BOOL>(this, &IMenuEvent::raw_GetInnerEvent);
  }

 protected:
  ~IMenuEvent() = default;
};

class IContextMenuInfo : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011C);
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  virtual HRESULT raw_GetItemUID(BSTR* out) = 0;
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;

  CComBSTR GetFormUID() { return qx::getText(this, &IContextMenuInfo::raw_GetFormUID); }
  CComBSTR GetItemUID() { return qx::getText(this, &IContextMenuInfo::raw_GetItemUID); }
  VARIANT_BOOL GetBeforeAction() {
    return qx::getValue<VARIANT_BOOL>(this, &IContextMenuInfo::raw_GetBeforeAction);
  }

 protected:
  ~IContextMenuInfo() = default;
};

class IBusinessObjectInfo : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011D);
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  virtual HRESULT raw_GetType(BSTR* out) = 0;
  virtual HRESULT raw_GetObjectKey(BSTR* out) = 0;
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;

  CComBSTR GetFormUID() { return qx::getText(this, &IBusinessObjectInfo::raw_GetFormUID); }
  CComBSTR GetType() { return qx::getText(this, &IBusinessObjectInfo::raw_GetType); }
  CComBSTR GetObjectKey() { return qx::getText(this, &IBusinessObjectInfo::raw_GetObjectKey); }
  VARIANT_BOOL GetBeforeAction() {
    return qx::getValue<VARIANT_BOOL>(this, &IBusinessObjectInfo::raw_GetBeforeAction);
  }

 protected:
  ~IBusinessObjectInfo() = default;
};
