#pragma once

// The object that stands for the add-on in its own process. An add-on derives from CQXAddOn, builds
// one object in main, calls Connect and then runs its message loop until the event sink ends it:
//
//   MyAddOn addOn(connection, u"MYADDON", identifier);
//   if (addOn.Connect(0) != 0 || addOn.GetEventSink() == nullptr) return 1;
//   addOn.SetWndHandle(CreateMessageWindow({}));
//   RunMessageLoop();
//
// The thread that calls Connect must make all further calls, to the framework and to the host.

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
  /// `connection` is the argument that the host passed to the add-on's process. `moduleName` is
  /// written with every log record of the process. An empty `identifier` is replaced by a fixed
  /// one.
  CQXAddOn(std::u16string connection, std::u16string moduleName, std::u16string identifier);
  /// Ends the run if it has not ended yet, and lowers the attach counter.
  virtual ~CQXAddOn();
  CQXAddOn(const CQXAddOn&) = delete;
  CQXAddOn& operator=(const CQXAddOn&) = delete;

  /// Connects to the running client and starts the event sink. `startupDone` is 1 if the client
  /// shall count the add-on as started already, else 0.
  ///
  /// Returns 0, the code of the failure, or a result above 0 of the host unchanged. The user sees
  /// every failure in a box: of the system until the client is connected, then of the client. If no
  /// host library is installed, the result after the box is 0, with no event sink. A _com_error
  /// that CreateDispatch throws becomes the result; any other exception of it leaves this function.
  /// If the host refuses the identifier only, the start goes on.
  long Connect(unsigned char startupDone);

  /// Makes the form get the events of its host form; see CQXEventSink::RegisterForm. Returns E_FAIL
  /// before Connect has created the sink.
  long RegisterForm(CQXAddOnForm* form) const;
  /// Puts the client's selected form into `form` if it belongs to this add-on and has that
  /// extension id; see CQXEventSink::GetSelectedForm. Returns E_FAIL before Connect has created the
  /// sink.
  long GetSelectedForm(CComBSTR extId, CQXAddOnForm*& form);
  /// Writes one log record without a scope. Returns E_FAIL if there is no logging component.
  long WriteLog(long appId, const OLECHAR* module, QXLoggerLib::HvSeverityLevel level,
                const OLECHAR* function, const OLECHAR* message);
  /// Sets the window that gets WM_DESTROY at the end of the run, which ends the message loop. Has
  /// no effect before Connect.
  void SetWndHandle(HWND window);
  /// Chooses how the company is connected: through the client first (the default), or by the
  /// hand-shake only. Has an effect only before Connect.
  void SetConnectionViaUI(bool viaUI) { m_bConnectionViaUI = viaUI; }
  /// Returns null before Connect, and after a Connect that found no host.
  CQXEventSink* GetEventSink() const { return m_pEventSink; }

  /// Count the add-ons that are attached to a client, by its application number from 0 to 49. All
  /// processes of the machine share the counters. For 50 or more, the first two return E_FAIL and
  /// the third returns 0. For a negative number, IncAttachCount returns 0 and counts nothing.
  static long IncAttachCount(long appId);
  static long DecAttachCount(long appId);
  static long GetAttachCount(long appId);

  /// Returns a new handler of events, which the framework then owns. Called once, by Connect; null
  /// makes Connect fail with E_FAIL.
  virtual CQXIDispatch* CreateDispatch() = 0;
  /// Returns the loader of the add-on's own resources. The add-on keeps its ownership.
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
