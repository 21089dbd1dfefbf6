#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

class ICompany;
class IItemEvent;
class IMenuEvent;

/// An add-on's own handler of events, made by CQXAddOn::CreateDispatch. It has its turn behind the
/// form that an event belongs to.
///
/// A result only goes to the log. `bubble` is the veto: an operation sets it to 0 to stop the
/// host's action; it cannot take back a veto. Whatever is thrown here is logged and goes no
/// further, and the next event comes all the same.
class QX_API CQXIDispatch {
 public:
  CQXIDispatch() = default;
  CQXIDispatch(const CQXIDispatch&) = default;
  CQXIDispatch& operator=(const CQXIDispatch&) = default;
  virtual ~CQXIDispatch() = default;

  /// Kept for later use: nobody calls it.
  virtual long OnReservedEvent() = 0;
  /// A menu event that no form has vetoed.
  virtual long OnMenuEvent(IMenuEvent* event, short* bubble) = 0;
  virtual long OnChangeLanguage() = 0;
  /// The client has changed its company; `company` is connected to the new one.
  virtual long OnChangeCompany(ICompany* company) = 0;
  /// The end of the start: a negative result stops the add-on.
  virtual long OnApplicationLoad(IDispatch* application, ICompany* company) = 0;
  virtual long OnApplicationUnload() = 0;
  /// A form that nobody has registered has been loaded.
  virtual long OnFormLoad(IItemEvent* event, short* bubble) = 0;
  /// `event` is null where the host's object is no menu event.
  virtual long OnProgressBarEvent(IMenuEvent* event, short* bubble) = 0;
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
