#pragma once

// An add-on as the framework sees it. An add-on derives from CQXAddOn, builds one object of it in
// main, calls Connect and then runs its message loop until the event sink ends it:
//
//   MyAddOn addOn(connection, u"MYADDON", identifier);
//   if (addOn.Connect(0) != 0 || addOn.GetEventSink() == nullptr) return 1;
//   addOn.SetWndHandle(CreateMessageWindow({}));
//   RunMessageLoop();
//
// Everything happens on the thread that calls Connect; it must stay the thread of all host calls.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/logging/qx_logger.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/runtime/critical_section.h"

#include <string>

class CQXAddOnForm;
class CQXEventSink;
class CQXIDispatch;
class CQXResourceLoader;
class IApplication;
class IHalvexGuiApi;

template <class T>
class CReturnValue;

class QX_API CQXAddOn {
 public:
  /// `connection` is what the host passed to the add-on's process. `moduleName` goes with every log
  /// record of the process. An empty `identifier` is replaced by a fixed one.
  CQXAddOn(std::u16string connection, std::u16string moduleName, std::u16string identifier);
  /// Ends the run, if it has not ended yet, and counts the add-on out.
  virtual ~CQXAddOn();
  CQXAddOn(const CQXAddOn&) = delete;
  CQXAddOn& operator=(const CQXAddOn&) = delete;

  /// Connects to the running client and starts the event sink; `startupDone` tells the client
  /// whether the add-on counts as started already. Every failure but the first is the result:
  /// where there is no host library at all, the user sees a box and the result is 0. Results above
  /// 0 are returned as they are. What CreateDispatch throws comes out of here, unless it is a
  /// _com_error: its code is the result. A host that refuses the identifier only is asked on.
  long Connect(unsigned char startupDone);

  /// E_FAIL before Connect has made the sink.
  long RegisterForm(CQXAddOnForm* form) const;
  /// `form` is the selected form of the client if it is ours and carries `extId`; see the sink.
  long GetSelectedForm(CComBSTR extId, CQXAddOnForm*& form);
  /// One log record without a function scope; E_FAIL when there is no logging component.
  long WriteLog(long appId, const OLECHAR* module, QXLoggerLib::HvSeverityLevel level,
                const OLECHAR* function, const OLECHAR* message);
  /// The window that gets the message that ends the loop. Nothing happens before Connect.
  void SetWndHandle(HWND window);
  /// Whether the company is reached through the client first; to be called before Connect.
  void SetConnectionViaUI(bool viaUI) { m_bConnectionViaUI = viaUI; }
  CQXEventSink* GetEventSink() const { return m_pEventSink; }

  /// The counters of the add-ons attached to a client, by its application number; they are shared
  /// by all processes. 50 or more is E_FAIL, or 0 add-ons. A negative number is no error when
  /// counting in, and counts nothing.
  static long IncAttachCount(long appId);
  static long DecAttachCount(long appId);
  static long GetAttachCount(long appId);

  /// The add-on's handler of events, which passes to the framework. Called once, by Connect.
  virtual CQXIDispatch* CreateDispatch() = 0;
  /// The loader of the add-on's own resources, which stays the add-on's.
  virtual CQXResourceLoader* GetResourceLoader() = 0;

 private:
  using Scope = CReturnValue<long>;

  void ReportHostVersion(Scope& hr);
  void OpenApplication(Scope& hr, IHalvexGuiApi* api, CComPtr<IApplication>& application);
  void Start(Scope& hr, const CComPtr<IApplication>& application, bool startupDone);
  void Attach(Scope& hr, const CComPtr<IApplication>& application);
  void BuildSink(Scope& hr, bool startupDone);
  void AdviseAlone(Scope& hr);
  void ShowInitializationFailed();

  CComPtr<IApplication> m_ptrApp;
  CQXEventSink* m_pEventSink = nullptr;
  CQXIDispatch* m_pDispatch = nullptr;
  std::u16string m_strIdentifier;
  std::u16string m_strConnection;
  std::u16string m_strReserved;
  long m_lAppId = -1;
  qx::CriticalSection m_cs;
  bool m_bConnectionViaUI = true;
};
