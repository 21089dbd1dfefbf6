#pragma once

// The one object that the host calls. An event enters at Invoke, goes to the form that it belongs
// to and then to the add-on's handler. What these throw does not get past the sink.
//
// The sink also runs the add-on: AdviseEvents connects the company and starts the events,
// UnadviseEvents ends the add-on's message loop. From then on every event is answered with 0.
//
// Three sources hold its operations: event_sink.cc the entry, event_handlers.cc the events one by
// one, event_sink_run.cc the run. The forms are kept by FormRegistry, and the company is connected
// by connectCompany.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/resources/xml_map.h"
#include "qxframework/runtime/critical_section.h"
#include "qxframework/runtime/form_registry.h"
#include "qxframework/runtime/framework_util.h"

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

/// Opens the log settings form for an add-on. Returns the result of the form's creation, or throws.
using LogSettingsOpener = long (*)(CQXAddOn* addOn, CComPtr<IApplication> application,
                                   CComPtr<ICompany> company);

}  // namespace qx

class QX_API CQXEventSink : public IDispatch {
 public:
  /// Does not own `dispatch` and `addOn`. Without a `dispatch` the events reach the forms only.
  /// Throws _com_error if the application does not answer.
  CQXEventSink(IApplication* application, CQXIDispatch* dispatch, CQXAddOn* addOn);
  CQXEventSink(const CQXEventSink&) = delete;
  CQXEventSink& operator=(const CQXEventSink&) = delete;

  /// References are not counted, since the sink lives until the process ends.
  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override { return 0; }
  ULONG Release() override { return 0; }
  HRESULT GetTypeInfoCount(UINT* count) override;
  HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID locale,
                        DISPID* ids) override;
  /// The entry of all events. Always returns 0: the host learns of a decision through the veto
  /// only.
  HRESULT Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                 VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;
  /// Appends the symbols of the common menu and the closing row.
  virtual void InitXMLMap();

  /// Makes the form get the events of its host form. The sink does not own the form, but it deletes
  /// the form when the host form has been unloaded. If another form is registered for the same host
  /// form, that one stays. Returns E_INVALIDARG for null, E_POINTER for a form without a host form.
  long RegisterForm(CQXAddOnForm* form);
  /// Puts the client's selected form into `out` and returns 0 if it is registered and of that
  /// extension. Else returns 1; `out` is then null, or unchanged if the selected form is not
  /// registered.
  long GetSelectedForm(CComBSTR extId, CQXAddOnForm*& out);

  /// Handle one event each. Results go to the log only. `bubble` is the veto: it must not be null,
  /// and a veto is never taken back. After the end of the run they return 0 at once.
  long ItemEvent(BSTR formUID, IDispatch* event, short* bubble);
  long OnMenuEvent(IMenuEvent* event, short* bubble);
  long OnAppEvent(long type);
  long StatusBarEvent(BSTR text, long type);
  long ProgressBarEvent(IMenuEvent* event, short* bubble);
  long PrintEvent(IDispatch* event, short* bubble);
  long ReportDataEvent(IDispatch* event, short* bubble);
  long RightClickEvent(IContextMenuInfo* info, short* bubble);
  long FormDataEvent(IBusinessObjectInfo* info, short* bubble);

  /// Starts the run, in this order: company, the framework's tables, common menu, events, the
  /// add-on's OnApplicationLoad.
  long AdviseEvents(IDispatch* application, CComBSTR& identifier);
  /// Ends the run and posts WM_DESTROY to the add-on's window. A second call does nothing.
  void UnadviseEvents();
  /// Calls OnApplicationLoad. If it fails, the user sees a box and the run ends.
  long LoadApplication();
  /// Calls OnApplicationUnload, removes the common menu if this is the client's last add-on, and
  /// ends the run.
  long UnloadApplication();
  /// Connects the company; see qx::connectCompany for results and failures.
  long DbConnect();
  long DbDisconnect();

  void SetWndHandle(HWND window) { m_hWnd = window; }
  void SetConnectionViaUI(bool viaUI) { m_bConnectionViaUI = viaUI; }

  /// Sets the function that opens the log settings form; null if there is no such form. The form is
  /// in a higher folder, which supplies it here.
  static void SetLogSettingsOpener(qx::LogSettingsOpener opener);

  /// The calls into forms that are running now. A caller of a form that may close itself opens a
  /// RunningForms::Call there.
  qx::RunningForms& runningForms() { return m_forms.running(); }

 private:
  using Scope = CReturnValue<long>;
  struct EventEntry;

  // event_sink.cc
  void Dispatch(DISPID id, qx::EventArgs& args);

  // event_handlers.cc
  void RouteItemEvent(Scope& hr, BSTR formUID, IDispatch* event, short* bubble);
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
  long PassToAddOn(const OLECHAR* name, short* bubble, const OLECHAR* message, Operation operation);
  template <class Operation>
  void AskAddOnUnlessVetoed(Scope& hr, short* bubble, const OLECHAR* message, Operation operation);

  // event_sink_run.cc
  bool ChangeCompany(Scope& hr);
  void PassToAddOn(Scope& hr, long type);
  void RebuildMenu(Scope& hr);
  void ConnectEvents(Scope& hr);
  void ShowSetUpFailed();
  void RemoveMenuIfLast();

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
  qx::FormMap m_mapForms;
  CQXAddOn* m_pAddOn;
  qx::FormRegistry m_forms{m_cs, m_mapForms};
};
