#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

class ICompany;
class IItemEvent;
class IMenuEvent;

/// The add-on's handler of events, created by CQXAddOn::CreateDispatch. It is called after the form
/// that an event belongs to.
///
/// Results go to the log only, unless an operation says otherwise. `bubble` is the veto: an
/// operation sets it to 0 to stop the host's action, and it cannot take a veto back. An exception
/// is logged and ends here; the next event reaches the handler as usual.
class QX_API CQXIDispatch {
 public:
  CQXIDispatch() = default;
  CQXIDispatch(const CQXIDispatch&) = default;
  CQXIDispatch& operator=(const CQXIDispatch&) = default;
  virtual ~CQXIDispatch();

  /// Reserved. The framework never calls it.
  virtual long OnReservedEvent() = 0;
  /// A menu event that the selected form has not vetoed.
  virtual long OnMenuEvent(IMenuEvent* event, short* bubble) = 0;
  /// The client has changed its language; the common menu is rebuilt afterwards.
  virtual long OnChangeLanguage() = 0;
  /// The client has changed its company. `company` is connected to the new one.
  virtual long OnChangeCompany(ICompany* company) = 0;
  /// The end of the start: the company is connected and events arrive from now on. A negative
  /// result or an exception stops the add-on; the user sees a box.
  virtual long OnApplicationLoad(IDispatch* application, ICompany* company) = 0;
  /// The add-on stops. The company is still connected.
  virtual long OnApplicationUnload() = 0;
  /// The host has loaded a form for which no form object is registered.
  virtual long OnFormLoad(IItemEvent* event, short* bubble) = 0;
  /// `event` is null if the host's object is not a menu event.
  virtual long OnProgressBarEvent(IMenuEvent* event, short* bubble) = 0;
  /// The status bar shows `text`; `type` is an HvStatusBarMessageType.
  virtual long OnStatusBarEvent(BSTR text, long type) = 0;
  virtual long OnPrintEvent([[maybe_unused]] IDispatch* event, [[maybe_unused]] short* bubble) {
    return S_OK;
  }
  virtual long OnReportDataEvent([[maybe_unused]] IDispatch* event,
                                 [[maybe_unused]] short* bubble) {
    return S_OK;
  }
  virtual long OnRightClickEvent([[maybe_unused]] IDispatch* info, [[maybe_unused]] short* bubble) {
    return S_OK;
  }
};
