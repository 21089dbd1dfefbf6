// The schema side: progress on the host's status bar.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"
#include "qxframework/xml/dom.h"

#include <chrono>

namespace {

constexpr long kWaitTimeout = 0x102;
constexpr std::chrono::milliseconds kPause{30000};
constexpr unsigned kCreateTableText = 221;
constexpr unsigned kCreateFieldsText = 222;

}  // namespace

// A bar that another holder has is waited for.
long CQXDbDef::GetProgressBar(long minutes, const CComBSTR& title, long maximum) {
  CReturnValue<long> hr(u"CQXDbDef::GetProgressBar", 0, m_lLogId, false);
  std::chrono::milliseconds left = std::chrono::minutes(minutes);
  for (hr = CreateProgressBar(title, maximum); hr != 0; hr = CreateProgressBar(title, maximum)) {
    if (left.count() <= 0) {
      hr = kWaitTimeout;
      return hr;
    }
    qx::currentClock().sleepFor(kPause);
    left -= kPause;
  }
  return hr;
}

long CQXDbDef::CreateProgressBar(const CComBSTR& title, long maximum) {
  CReturnValue<long> hr(u"CQXDbDef::CreateProgressBar", E_FAIL, m_lLogId, false);
  try {
    const CComPtr<IStatusBar> statusBar = m_ptrApp->GetStatusBar();
    m_ptrProgressBar = statusBar->CreateProgressBar(title, maximum, VARIANT_FALSE);
    if (m_ptrProgressBar != nullptr) {
      m_ptrProgressBar->PutValue(0);
      m_lProgress = 0;
      hr = S_OK;
    }
  } catch (...) {
    hr.LogError(u"Failed to create progress bar");
    hr = E_FAIL;
  }
  return hr;
}

void CQXDbDef::DisplayProgressMessage(const CComBSTR& text) {
  CReturnValue<void> log(u"CQXDbDef::DisplayProgressMessage", m_lLogId, false);
  ++m_lProgress;
  if (m_ptrProgressBar == nullptr) return;
  m_ptrProgressBar->PutText(text);
  m_ptrProgressBar->PutValue(m_lProgress);
}

void CQXDbDef::SignalTableInitialized(const CComBSTR& table, long kind) {
  CReturnValue<void> log(u"CQXDbDef::SignalTableInitialized", m_lLogId, false);
  const CComBSTR shape = FrameworkText(kind == 1 ? kCreateTableText : kCreateFieldsText);
  DisplayProgressMessage(CComBSTR(qx::format(shape, table.View())));
}

void CQXDbDef::StopProgressBar() {
  CReturnValue<void> log(u"CQXDbDef::StopProgressBar", m_lLogId, false);
  if (m_ptrProgressBar != nullptr) {
    m_ptrProgressBar->raw_Stop();  // it is given up even if the host has gone
    m_ptrProgressBar.Release();
  }
  m_lProgress = 0;
}
