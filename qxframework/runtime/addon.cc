#include "qxframework/runtime/addon.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/host/application.h"
#include "qxframework/host/gui_api.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/module_name.h"
#include "qxframework/os/named_mutex.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/internal/attach_counters.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/runtime/qx_idispatch.h"
#include "qxframework/util/qx_util.h"
#include "qxframework/util/wait_report.h"

#include <new>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace {

// Frozen: hosts recognise an add-on that brings no identifier by this one.
constexpr OLECHAR kDefaultIdentifier[] =
    u"7345B5E8EC23B9F11C2E42C77ECB121327255F6061C5"
    u"7415E6FBCD522FA9222FF82643C2AA9C021171D9DC0C";
static_assert(std::size(kDefaultIdentifier) == 88 + 1);

// The host's answer that it refuses the connection or the application.
constexpr long kRefused = 1;
constexpr long kDefaultApplication = -1;

void showConnectionError(long hr) {
  CLogBase<CReturnValue<long>>::ErrorBox(
      u"Connection to UI-API", u"%s",
      CLogBase<CReturnValue<long>>::xstrerror(static_cast<unsigned long>(hr)));
}

// Add-ons start one at a time on a machine, since they change the shared menu and the framework's
// tables. The mutex stays open until the process ends.
qx::NamedMutex& startMutex() {
  static auto* const mutex = new qx::NamedMutex(u"AddOnStartMutex");
  return *mutex;
}

constexpr qx::Waiting kStart{
    .function = u"CQXAddOn::Connect", .what = u"AddOnStartMutex", .text = qx::kTextWaitForStart};

// A sink is never freed, so that an event that is still on its way does not reach freed memory.
void keepUntilProcessEnds(CQXEventSink* sink) {
  static auto* const lock = new std::mutex;
  static auto* const sinks = new std::vector<CQXEventSink*>;
  const std::lock_guard guard(*lock);
  sinks->push_back(sink);
}

}  // namespace

CQXAddOn::CQXAddOn(std::u16string connection, std::u16string moduleName, std::u16string identifier)
    : m_strIdentifier(std::move(identifier)), m_strConnection(std::move(connection)) {
  qx::setLogModuleName(moduleName);
  qx::openAttachCounters();
}

CQXAddOn::~CQXAddOn() {
  // UnadviseEvents calls no hook, so the handler may go before it.
  delete std::exchange(m_pDispatch, nullptr);
  if (m_pEventSink != nullptr) {
    m_pEventSink->UnadviseEvents();
    std::exchange(m_pEventSink, nullptr)->Release();
  }
  {
    const qx::CriticalSectionLock lock(m_cs);
    DecAttachCount(m_lAppId);
  }
  CoUninitialize();
}

long CQXAddOn::Connect(unsigned char startupDone) {
  // The application number is not known yet, so this scope logs with 0.
  Scope hr(u"CQXAddOn::Connect", 0, 0);
  hr = CoInitialize(nullptr);
  ReportHostVersion(hr);
  CComPtr<IHalvexGuiApi> api;
  hr = qx::createInstance(CLSID_HalvexGuiApi, CLSCTX_ALL, &api.p);
  if (hr < 0) {
    // The machine has no host, which is no fault of the add-on: the user knows, and the result is
    // 0.
    showConnectionError(hr);
    return hr = S_OK;
  }
  CComPtr<IApplication> application;
  OpenApplication(hr, api, application);
  // After a refusal above 0 there is no client either that could show a box.
  if (hr < 0 || application == nullptr) showConnectionError(hr);
  if (hr < 0) return hr;
  Start(hr, application, startupDone != 0);
  // Results above 0 count as failures here, as in most tests of a start.
  if (hr != S_OK) {
    hr.LogError(u"Initialization failed");
    ShowInitializationFailed();
  }
  return hr;
}

void CQXAddOn::ReportHostVersion(Scope& hr) {
  CComBSTR version;
  hr = CQXUtil::GetHVXVersion(-1, version);
  if (hr < 0) hr.LogError(u"Failed to detect current version of UI API");
  hr.LogInfo(u"Current version of UI API is %s", version.View());
}

void CQXAddOn::OpenApplication(Scope& hr, IHalvexGuiApi* api, CComPtr<IApplication>& application) {
  if (m_strIdentifier.empty()) m_strIdentifier = kDefaultIdentifier;
  // The result is ignored: a host may refuse the identifier and still accept the connection.
  api->raw_PutAddOnIdentifier(CComBSTR(m_strIdentifier));

  long answer = 0;
  hr = api->raw_Connect(CComBSTR(m_strConnection), &answer);
  if (hr >= 0) hr = answer;
  if (hr == S_OK) {
    hr = api->raw_GetApplication(kDefaultApplication, &application);
    if (hr == kRefused) hr = E_FAIL;
    // A host may report success and hand over nothing.
    if (hr == S_OK && application == nullptr) hr = E_POINTER;
    return;
  }
  hr.LogError(u"Connection to UI-API failed: error %d", static_cast<long>(hr));
  if (hr == kRefused) hr = E_ABORT;
}

// A host that refuses with a code above 0 hands over no application. There is nothing to start
// then, and the code is the result of Connect.
void CQXAddOn::Start(Scope& hr, const CComPtr<IApplication>& application, bool startupDone) {
  if (application == nullptr) return;
  try {
    Attach(hr, application);
    if (hr >= 0) BuildSink(hr, startupDone);
  } catch (const _com_error& error) {
    hr = error.Error();
  }
  if (hr >= 0) AdviseAlone(hr);
}

// The counter goes up before any hook runs: an add-on that starts meanwhile must not take itself
// for the only one.
void CQXAddOn::Attach(Scope& hr, const CComPtr<IApplication>& application) {
  m_ptrApp = application;
  m_lAppId = m_ptrApp->GetAppId();
  {
    const qx::CriticalSectionLock lock(m_cs);
    IncAttachCount(m_lAppId);
  }
  m_pDispatch = CreateDispatch();
  if (m_pDispatch == nullptr) hr = E_FAIL;
}

void CQXAddOn::BuildSink(Scope& hr, bool startupDone) {
  // nothrow: without memory the host must still learn whether the start is done.
  m_pEventSink = new (std::nothrow) CQXEventSink(m_ptrApp, m_pDispatch, this);
  if (m_pEventSink != nullptr) keepUntilProcessEnds(m_pEventSink);
  m_ptrApp->PutStartupDone(startupDone ? VARIANT_TRUE : VARIANT_FALSE);
  if (m_pEventSink == nullptr) {
    hr.LogError(u"Could not create event sink");
    hr = E_FAIL;
    return;
  }
  m_pEventSink->SetConnectionViaUI(m_bConnectionViaUI);
}

// Holds the machine-wide mutex for the whole of AdviseEvents. If AdviseEvents throws, the result is
// the one from before, so the exception shows in the log only.
void CQXAddOn::AdviseAlone(Scope& hr) {
  std::unique_lock<qx::NamedMutex> lock;
  try {
    startMutex().lock([this](const std::optional<qx::LockHolder>& holder, auto waited) {
      qx::reportWaiting(
          kStart, [&](HvLanguages language) { return qx::nameOfHolder(holder, language); }, waited,
          m_lAppId, m_ptrApp);
    });
    lock = std::unique_lock(startMutex(), std::adopt_lock);
  } catch (const std::system_error& error) {
    hr.LogError(u"Cannot lock AddOnStartMutex: %s", error.what());
    hr = E_FAIL;
    return;
  }
  try {
    CComBSTR identifier(m_strIdentifier);
    hr = m_pEventSink->AdviseEvents(m_ptrApp, identifier);
  } catch (...) {
    hr.LogError(u"Advise Events Error!");
  }
}

void CQXAddOn::ShowInitializationFailed() {
  if (m_ptrApp == nullptr) return;
  qx::guarded([&] {
    const HvLanguages language = m_ptrApp->GetLanguage();
    qx::showInClient(m_ptrApp, qx::frameworkText(qx::kTextInitializationFailed, language),
                     qx::frameworkText(qx::kTextOk, language), CComBSTR());
  });
}

long CQXAddOn::RegisterForm(CQXAddOnForm* form) const {
  return m_pEventSink == nullptr ? E_FAIL : m_pEventSink->RegisterForm(form);
}

long CQXAddOn::GetSelectedForm(CComBSTR extId, CQXAddOnForm*& form) {
  return m_pEventSink == nullptr ? E_FAIL : m_pEventSink->GetSelectedForm(extId, form);
}

long CQXAddOn::WriteLog(long appId, const OLECHAR* module, QXLoggerLib::HvSeverityLevel level,
                        const OLECHAR* function, const OLECHAR* message) {
  const CComPtr<QXLoggerLib::IQXLogger> logger = qx::createLogger();
  if (logger == nullptr) return E_FAIL;
  return logger->WriteLog(appId, CComBSTR(module), level, CComBSTR(function), CComBSTR(message));
}

void CQXAddOn::SetWndHandle(HWND window) {
  if (m_pEventSink != nullptr) m_pEventSink->SetWndHandle(window);
}

long CQXAddOn::IncAttachCount(long appId) { return qx::incAttachCount(appId); }
long CQXAddOn::DecAttachCount(long appId) { return qx::decAttachCount(appId); }
long CQXAddOn::GetAttachCount(long appId) { return qx::getAttachCount(appId); }
