#pragma once

// The one object that the host calls. An event enters at Invoke, goes to the form that it belongs
// to and then to the add-on's handler; whatever these throw stays here. The sink also runs the
// add-on from AdviseEvents, which connects the company and starts the events, to UnadviseEvents,
// which ends the add-on's message loop; from then on events are answered with 0 and nothing else.
//
// event_sink.cc has the dispatch and the forms, event_handlers.cc the events one by one,
// event_sink_run.cc the run and company_connection.cc the connection to the company.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/resources/xml_map.h"
#include "qxframework/runtime/critical_section.h"
#include "qxframework/runtime/framework_util.h"
#include "qxframework/runtime/running_forms.h"

#include <map>
#include <optional>
#include <vector>

class CQXAddOn;
class CQXAddOnForm;
class CQXIDispatch;
class IBusinessObjectInfo;
class IContextMenuInfo;
class IItemEvent;
class IMenuEvent;

template <class T>
class CReturnValue;

namespace qx {

class EventArgs;

/// Order and equality of texts by their units, for keys that must match exactly.
struct ExactOrder {
  bool operator()(const CComBSTR& a, const CComBSTR& b) const { return a.View() < b.View(); }
};

/// Opens the log settings form for an add-on; the result is that of the form's creation, which may
/// also be raised.
using LogSettingsOpener = long (*)(CQXAddOn* addOn, CComPtr<IApplication> application,
                                   CComPtr<ICompany> company);

}  // namespace qx

class QX_API CQXEventSink : public IDispatch {
 public:
  /// `dispatch` and `addOn` are not owned. Raises _com_error when the application does not answer.
  CQXEventSink(IApplication* application, CQXIDispatch* dispatch, CQXAddOn* addOn);
  CQXEventSink(const CQXEventSink&) = delete;
  CQXEventSink& operator=(const CQXEventSink&) = delete;

  /// The sink lives until the process ends: references are not counted.
  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return 0; }
  ULONG Release() override { return 0; }
  HRESULT GetTypeInfoCount(UINT* count) override;
  HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID locale,
                        DISPID* ids) override;
  /// Always 0: the host learns of a decision through the veto only.
  HRESULT Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                 VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;
  /// Fills the symbols of the common menu.
  virtual void InitXMLMap();

  /// The form gets the events of its host form from now on. It is not owned, but it is deleted when
  /// its host form has been unloaded. A form that stands there for the same host form stays.
  long RegisterForm(CQXAddOnForm* form);
  /// The selected form of the client, if it is registered and of that extension. 1 otherwise; `out`
  /// is then null, but untouched when the selected form is not registered.
  long GetSelectedForm(CComBSTR extId, CQXAddOnForm*& out);

  /// One event each. A result only goes to the log; `bubble`, the veto, must not be null and is
  /// never taken back. They return 0 at once when the run has ended.
  long ItemEvent(BSTR formUID, IDispatch* event, short* bubble);
  long OnMenuEvent(IMenuEvent* event, short* bubble);
  long OnAppEvent(long type);
  long StatusBarEvent(BSTR text, long type);
  long ProgressBarEvent(IMenuEvent* event, short* bubble);
  long PrintEvent(IDispatch* event, short* bubble);
  long ReportDataEvent(IDispatch* event, short* bubble);
  long RightClickEvent(IContextMenuInfo* info, short* bubble);
  long FormDataEvent(IBusinessObjectInfo* info, short* bubble);

  /// Starts the run: the company, the framework's tables, the common menu, the events, the add-on's
  /// OnApplicationLoad.
  long AdviseEvents(IDispatch* application, CComBSTR& identifier);
  /// Ends the run; a second call does nothing.
  void UnadviseEvents();
  long LoadApplication();
  long UnloadApplication();
  /// Connects the company, through the client or by the cookie. 0x80040501 when that fails, after
  /// the user has been told.
  long DbConnect();
  long DbDisconnect();

  void SetWndHandle(HWND window) { m_hWnd = window; }
  void SetConnectionViaUI(bool viaUI) { m_bConnectionViaUI = viaUI; }

  /// Who opens the log settings form; null when there is no such form.
  static void SetLogSettingsOpener(qx::LogSettingsOpener opener);

  /// For callers of a form that may close itself meanwhile.
  qx::RunningForms& runningForms() { return m_runningForms; }

 private:
  using Scope = CReturnValue<long>;
  struct EventEntry;

  // event_sink.cc
  void Dispatch(DISPID id, qx::EventArgs& args);
  std::optional<CQXAddOnForm*> FindForm(const CComBSTR& uid);

  // event_handlers.cc
  void RouteItemEvent(Scope& hr, BSTR formUID, IDispatch* event, short* bubble);
  std::optional<CQXAddOnForm*> FindFormLoggingAll(Scope& hr, const CComBSTR& uid);
  void RouteFormLoad(Scope& hr, IItemEvent* event, short* bubble);
  void EndForm(Scope& hr, const CComBSTR& uid, CQXAddOnForm* form);
  void RouteMenuEvent(Scope& hr, IMenuEvent* event, short* bubble);
  void OpenLogSettings(Scope& hr, short* bubble);
  template <class Operation>
  void AskForm(Scope& hr, CQXAddOnForm* form, const CComBSTR& uid, short* bubble,
               Operation operation);
  template <class Operation>
  void AskSelectedForm(Scope& hr, short* bubble, Operation operation);
  template <class Operation>
  void AskAddOn(Scope& hr, const OLECHAR* message, Operation operation);
  template <class Operation>
  long PassToAddOn(const OLECHAR* name, short* bubble, const OLECHAR* message, Operation operation);
  template <class Operation>
  void AskAddOnUnlessVetoed(Scope& hr, short* bubble, const OLECHAR* message, Operation operation);

  // event_sink_run.cc
  bool ChangeCompany(Scope& hr);
  void TellAddOn(Scope& hr, long type);
  void RebuildMenu(Scope& hr);
  void ConnectEvents(Scope& hr);
  void ShowSetUpFailed();
  void RemoveMenuIfLast();

  // company_connection.cc
  void ConnectCompany(Scope& hr);
  void ShakeHands(Scope& hr);
  void ReportConnectionError(Scope& hr, long code);

  std::vector<XMLMAP> m_vecXMLMap;
  HWND m_hWnd = nullptr;
  CComPtr<IApplication> m_ptrApp;
  CComPtr<ICompany> m_ptrCompany;
  CComPtr<IDispatch> m_ptrEventSource;
  long m_lAppId = -1;
  CQXFrameworkUtil m_FrameworkUtil;
  bool m_bShutdown = false;
  CComBSTR m_bstrConnection;
  qx::CriticalSection m_cs;
  CQXIDispatch* m_pDispatch;
  CComPtr<IConnectionPoint> m_ptrConnectionPoint;
  DWORD m_dwCookie = 0;
  bool m_bConnectionViaUI = true;
  bool m_bEventsEnabled = true;
  std::map<CComBSTR, CQXAddOnForm*, qx::ExactOrder> m_mapForms;
  CQXAddOn* m_pAddOn;
  // The forms that were open when the run ended. Nobody deletes them, but they are not lost.
  std::map<CComBSTR, CQXAddOnForm*, qx::ExactOrder> m_mapFormsLeftOpen;
  qx::RunningForms m_runningForms;
};
