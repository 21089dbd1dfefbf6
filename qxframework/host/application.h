#pragma once

// The running client as an add-on sees it: its forms, menus, status bar, message boxes and batches.
// gui_api.h states the rules of all host interfaces.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/form.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/menu.h"

class IStatusBar;
class IProgressBar;
class IHostCompany;

/// The client. The object is also an IConnectionPointContainer for the client's events, see
/// events.h.
class IApplication : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0102);
  /// Returns the open forms. The collection changes as forms open and close.
  virtual HRESULT raw_GetForms(IForms** out) = 0;
  /// Returns the company that the client itself is logged in to.
  virtual HRESULT raw_GetCompanyInfo(IHostCompany** out) = 0;
  /// Returns the number of the client, as it appears in the log. Add-ons of one client share it.
  virtual HRESULT raw_GetAppId(long* out) = 0;
  /// Returns the client's language. Event qx::kLanguageChanged reports a new one.
  virtual HRESULT raw_GetLanguage(HvLanguages* out) = 0;
  /// Shows a modal box and returns the number of the pressed button, 1 to 3. An empty caption
  /// leaves its button out; a box without any caption has an "OK" as button 1. A `defaultButton`
  /// that the box does not have counts as its first one. Fails with -1 if the client runs
  /// unattended and refuses boxes.
  virtual HRESULT raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2,
                                 BSTR button3, long* out) = 0;
  /// Returns the entries of the menu bar, below which all others are found.
  virtual HRESULT raw_GetMenus(IMenus** out) = 0;
  /// Applies an XML document `Application` with actions on menus or forms: adds, updates and
  /// removes. Each entry counts alone: the client applies every one that it can, and the call fails
  /// with the code of the first that it cannot, such as -7040 for a text that is not XML.
  virtual HRESULT raw_LoadBatchActions(BSTR xml) = 0;
  /// Returns the report on the last batch, an XML document with the number of applied and failed
  /// entries and the errors. Empty before the first batch.
  virtual HRESULT raw_GetLastBatchResults(BSTR* out) = 0;
  /// Returns the status bar of the client.
  virtual HRESULT raw_GetStatusBar(IStatusBar** out) = 0;
  /// Returns true once an add-on has reported the end of its start.
  virtual HRESULT raw_GetStartupDone(VARIANT_BOOL* out) = 0;
  /// Reports that the start of the add-on is over, or with false that it still runs.
  virtual HRESULT raw_PutStartupDone(VARIANT_BOOL done) = 0;

  CComPtr<IForms> GetForms() { return qx::getObject<IForms>(this, &IApplication::raw_GetForms); }
  CComPtr<IHostCompany> GetCompanyInfo() {
    return qx::getObject<IHostCompany>(this, &IApplication::raw_GetCompanyInfo);
  }
  long GetAppId() { return qx::getValue<long>(this, &IApplication::raw_GetAppId); }
  HvLanguages GetLanguage() {
    return qx::getValue<HvLanguages>(this, &IApplication::raw_GetLanguage);
  }
  long MessageBox(const CComBSTR& text, long defaultButton, const CComBSTR& button1,
                  const CComBSTR& button2, const CComBSTR& button3) {
    return qx::getValue<long>(this, &IApplication::raw_MessageBox, text.m_str, defaultButton,
                              button1.m_str, button2.m_str, button3.m_str);
  }
  CComPtr<IMenus> GetMenus() { return qx::getObject<IMenus>(this, &IApplication::raw_GetMenus); }
  HRESULT LoadBatchActions(const CComBSTR& xml) {
    return qx::call(this, &IApplication::raw_LoadBatchActions, xml.m_str);
  }
  CComBSTR GetLastBatchResults() {
    return qx::getText(this, &IApplication::raw_GetLastBatchResults);
  }
  CComPtr<IStatusBar> GetStatusBar() {
    return qx::getObject<IStatusBar>(this, &IApplication::raw_GetStatusBar);
  }
  VARIANT_BOOL GetStartupDone() {
    return qx::getValue<VARIANT_BOOL>(this, &IApplication::raw_GetStartupDone);
  }
  HRESULT PutStartupDone(VARIANT_BOOL done) {
    return qx::call(this, &IApplication::raw_PutStartupDone, done);
  }

 protected:
  ~IApplication() = default;
};

/// The company that the client itself is logged in to. The texts change with event
/// qx::kCompanyChanged.
class IHostCompany : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0103);
  /// Returns the name of the client's user.
  virtual HRESULT raw_GetUserName(BSTR* out) = 0;
  /// Returns the name that the client shows for the company.
  virtual HRESULT raw_GetCompanyName(BSTR* out) = 0;
  /// Returns the name of the company's database, without folder and extension.
  virtual HRESULT raw_GetDatabaseName(BSTR* out) = 0;
  /// Returns the login context that answers `cookie`, a text from ICompany::GetContextCookie. The
  /// context is good for one ICompany::PutLoginContext on the object that made the cookie.
  virtual HRESULT raw_GetConnectionContext(BSTR cookie, BSTR* out) = 0;

  CComBSTR GetUserName() { return qx::getText(this, &IHostCompany::raw_GetUserName); }
  CComBSTR GetCompanyName() { return qx::getText(this, &IHostCompany::raw_GetCompanyName); }
  CComBSTR GetDatabaseName() { return qx::getText(this, &IHostCompany::raw_GetDatabaseName); }
  CComBSTR GetConnectionContext(const CComBSTR& cookie) {
    return qx::getText(this, &IHostCompany::raw_GetConnectionContext, cookie.m_str);
  }

 protected:
  ~IHostCompany() = default;
};

/// The line at the bottom of the client.
class IStatusBar : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0104);
  /// Shows a progress bar at 0 and returns it. `maximum` is the value of a full bar; `stoppable`
  /// lets the user stop it. Only one holder has the bar: the call fails with -1 while another one
  /// does.
  virtual HRESULT raw_CreateProgressBar(BSTR text, long maximum, VARIANT_BOOL stoppable,
                                        IProgressBar** out) = 0;
  /// Shows a message. `displayTime` is a display value of the client; the framework passes 20. A
  /// `type` outside the enumeration is refused with E_INVALIDARG. An add-on's message raises no
  /// event.
  virtual HRESULT raw_SetText(BSTR text, long displayTime, HvStatusBarMessageType type) = 0;

  CComPtr<IProgressBar> CreateProgressBar(const CComBSTR& text, long maximum,
                                          VARIANT_BOOL stoppable) {
    return qx::getObject<IProgressBar>(this, &IStatusBar::raw_CreateProgressBar, text.m_str,
                                       maximum, stoppable);
  }
  HRESULT SetText(const CComBSTR& text, long displayTime, HvStatusBarMessageType type) {
    return qx::call(this, &IStatusBar::raw_SetText, text.m_str, displayTime, type);
  }

 protected:
  ~IStatusBar() = default;
};

/// The progress bar in the hands of its holder. Releasing the last reference stops it.
class IProgressBar : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0105);
  /// Replaces the text beside the bar. Fails with -1 after Stop.
  virtual HRESULT raw_PutText(BSTR text) = 0;
  /// Moves the bar. A value outside 0 to the maximum counts as the nearer end. Fails with -1 after
  /// Stop.
  virtual HRESULT raw_PutValue(long value) = 0;
  /// Returns the last value, also after Stop.
  virtual HRESULT raw_GetValue(long* out) = 0;
  /// Removes the bar, so that the next holder can have it. A second call has no effect.
  virtual HRESULT raw_Stop() = 0;

  HRESULT PutText(const CComBSTR& text) {
    return qx::call(this, &IProgressBar::raw_PutText, text.m_str);
  }
  HRESULT PutValue(long value) { return qx::call(this, &IProgressBar::raw_PutValue, value); }
  long GetValue() { return qx::getValue<long>(this, &IProgressBar::raw_GetValue); }
  HRESULT Stop() { return qx::call(this, &IProgressBar::raw_Stop); }

 protected:
  ~IProgressBar() = default;
};
