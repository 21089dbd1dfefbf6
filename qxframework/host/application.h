#pragma once

// The running client as an add-on sees it: its forms, menus, status bar, boxes and batches. The
// object is also a connection point container for the client's events (see events.h).

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/form.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/menu.h"

class IStatusBar;
class IProgressBar;
class IHostCompany;

class IApplication : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0102);
  virtual HRESULT raw_GetForms(IForms** out) = 0;
  virtual HRESULT raw_GetCompanyInfo(IHostCompany** out) = 0;
  virtual HRESULT raw_GetAppId(long* out) = 0;
  virtual HRESULT raw_GetLanguage(HvLanguages* out) = 0;
  /// A modal box; an empty or null caption leaves its button out. The out value is the button
  /// pressed, counted from 1.
  virtual HRESULT raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2,
                                 BSTR button3, long* out) = 0;
  virtual HRESULT raw_GetMenus(IMenus** out) = 0;
  /// Applies an `Application` document of menus or forms; GetLastBatchResults tells what came of
  /// it.
  virtual HRESULT raw_LoadBatchActions(BSTR xml) = 0;
  /// The report on the last batch, an XML document.
  virtual HRESULT raw_GetLastBatchResults(BSTR* out) = 0;
  virtual HRESULT raw_GetStatusBar(IStatusBar** out) = 0;
  virtual HRESULT raw_GetStartupDone(VARIANT_BOOL* out) = 0;
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

/// The company that the client itself is logged in to.
class IHostCompany : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0103);
  virtual HRESULT raw_GetUserName(BSTR* out) = 0;
  virtual HRESULT raw_GetCompanyName(BSTR* out) = 0;
  virtual HRESULT raw_GetDatabaseName(BSTR* out) = 0;
  /// The answer to the cookie of ICompany::GetContextCookie, good for one PutLoginContext.
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

class IStatusBar : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0104);
  /// Fails while another holder has the bar.
  virtual HRESULT raw_CreateProgressBar(BSTR text, long maximum, VARIANT_BOOL stoppable,
                                        IProgressBar** out) = 0;
  /// `displayTime` is the display value of the client: 20 in all uses here.
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

class IProgressBar : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0105);
  virtual HRESULT raw_PutText(BSTR text) = 0;
  virtual HRESULT raw_PutValue(long value) = 0;
  virtual HRESULT raw_GetValue(long* out) = 0;
  /// Takes the bar away and lets the next holder have it.
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
