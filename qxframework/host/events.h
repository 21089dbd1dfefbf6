#pragma once

// The events that the client delivers to an add-on: one IDispatch::Invoke per event on each sink
// that is advised at the connection point DIID_IApplicationEvents of the application object.
// gui_api.h states the rules of all host interfaces.
//
// The arguments arrive in reverse order: rgvarg[0] is the last one. The veto is a VT_BYREF |
// VT_BOOL; a sink sets it to 0 to stop the action, and what one sink has vetoed no later one can
// allow. A veto counts only if Invoke returns a code that is not below 0. An event with a veto
// comes twice: before the action and, unless a sink has vetoed, after it, when a veto is ignored.
//
// All events arrive on the thread of the client's message loop. The argument objects are snapshots,
// good for as long as they are held.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/item_types.h"

namespace qx {

/// Dispatch ids of the event interface, with the arguments of each in their order before the
/// reversal. An "object" is an IDispatch without operations of its own; a type is a VT_I4.
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

/// An event of a form or of one of its items.
class IItemEvent : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011A);
  /// Returns the type, see qx::ItemEventType.
  virtual HRESULT raw_GetEventType(long* out) = 0;
  /// True before the action, when it can be vetoed; false after it.
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;
  /// Returns the type text of the form.
  virtual HRESULT raw_GetFormTypeEx(BSTR* out) = 0;
  /// Returns the UID of the form, which is also the first argument of the event.
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  /// Returns the UID of the item; empty for an event of the whole form.
  virtual HRESULT raw_GetItemUID(BSTR* out) = 0;
  /// Returns the UID of the column; empty outside a matrix.
  virtual HRESULT raw_GetColUID(BSTR* out) = 0;
  /// Returns the row of a matrix from 1; 0 is the head of a column, and every place outside a
  /// matrix.
  virtual HRESULT raw_GetRow(long* out) = 0;
  /// Returns the UTF-16 unit of qx::kKeyDown, also 8 backspace, 9 tab and 13 Enter; 0 for other
  /// events.
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

/// A menu entry was picked.
class IMenuEvent : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011B);
  /// Returns the UID of the entry.
  virtual HRESULT raw_GetMenuUID(BSTR* out) = 0;
  /// True before the action, when it can be vetoed; false after it.
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;
  /// True if the entry was picked while the client was delivering another event.
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

/// A right click on a form.
class IContextMenuInfo : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011C);
  /// Returns the UID of the form.
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  /// Returns the UID of the item; empty for the form itself.
  virtual HRESULT raw_GetItemUID(BSTR* out) = 0;
  /// True before the action, when it can be vetoed; false after it.
  virtual HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) = 0;

  CComBSTR GetFormUID() { return qx::getText(this, &IContextMenuInfo::raw_GetFormUID); }
  CComBSTR GetItemUID() { return qx::getText(this, &IContextMenuInfo::raw_GetItemUID); }
  VARIANT_BOOL GetBeforeAction() {
    return qx::getValue<VARIANT_BOOL>(this, &IContextMenuInfo::raw_GetBeforeAction);
  }

 protected:
  ~IContextMenuInfo() = default;
};

/// A record that a form of the client reads or writes.
class IBusinessObjectInfo : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011D);
  /// Returns the UID of the form.
  virtual HRESULT raw_GetFormUID(BSTR* out) = 0;
  /// Returns the object type as a text, such as "2" for a customer.
  virtual HRESULT raw_GetType(BSTR* out) = 0;
  /// Returns the key of the record; empty for one that is not saved yet.
  virtual HRESULT raw_GetObjectKey(BSTR* out) = 0;
  /// True before the action, when it can be vetoed; false after it.
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
