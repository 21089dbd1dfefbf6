#include "qxframework/stock/init_progress.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"
#include "qxframework/stock/internal/init_progress_form.h"

#include <chrono>
#include <memory>

namespace {

using Scope = CReturnValue<long>;

// How long the user sees the end text.
constexpr std::chrono::seconds kReadingTime{1};
constexpr int kCloseAttempts = 2;

}  // namespace

CQXInitProgress::CQXInitProgress(CComPtr<IApplication> application, CComPtr<ICompany> company,
                                 const CQXAddOn* addOn)
    : m_ptrApp(application), m_ptrCompany(company), m_pAddOn(addOn) {
  if (m_ptrApp != nullptr && m_ptrApp->raw_GetAppId(&m_lAppId) < 0) m_lAppId = -1;
}

// The user may have closed the form. Another form may have its address by now, so the type is
// tested as well.
CFrmInitProgress* CQXInitProgress::Form() {
  CQXAddOnForm* const form = m_pForm;
  m_pForm = CQXAddOnForm::IsLive(form) ? dynamic_cast<CFrmInitProgress*>(form) : nullptr;
  return m_pForm;
}

long CQXInitProgress::OpenInitForm() {
  Scope hr(u"CQXInitProgress::OpenInitForm", 0, m_lAppId);
  if (CFrmInitProgress* const form = Form()) {
    if (qx::guarded([&] { form->PutVisible(true); }) >= 0) return hr;
    // The client has lost the form. Its object stays with the sink.
    hr = E_FAIL;
    m_pForm = nullptr;
  }
  hr = qx::guarded([&] {
    m_pForm = qx::openForm(std::make_unique<CFrmInitProgress>(m_pAddOn), m_ptrApp, m_ptrCompany);
  });
  if (hr < 0) {
    hr.LogError(u"Failed to display Initialization Progress.\n");
    hr = S_OK;
  }
  return hr;
}

long CQXInitProgress::DisplayProgressMessage(const OLECHAR* text, long steps) {
  Scope hr(u"CQXInitProgress::DisplayProgressMessage", 0, m_lAppId);
  if (CFrmInitProgress* const form = Form()) {
    hr = qx::guarded([&] { form->DisplayMessage(text, steps); });
    if (hr >= 0) return hr;
  }
  hr.LogError(u"Failed to display progress. Try to reopen the progress bar");
  m_pForm = nullptr;
  OpenInitForm();
  CFrmInitProgress* const form = Form();
  if (form == nullptr) return hr;
  hr = qx::guarded([&] { form->DisplayMessage(text, steps); });
  if (hr < 0) {
    hr = E_FAIL;
    hr.LogError(u"Failed to reopen the progress bar");
  }
  return hr;
}

long CQXInitProgress::CloseInitForm(bool success) {
  Scope hr(u"CQXInitProgress::CloseInitForm", 0, m_lAppId);
  if (Form() == nullptr) OpenInitForm();
  if (Form() == nullptr) return hr;
  CComBSTR text;
  qx::guarded([&] { text = Form()->EndText(success); });
  for (int attempt = 0; attempt < kCloseAttempts && !ShowEnd(text); ++attempt) {
    hr.LogError(u"Failed to close progress form, try to reopen");
    m_pForm = nullptr;
    OpenInitForm();
    if (Form() == nullptr) break;
  }
  hr = S_OK;
  return hr;
}

bool CQXInitProgress::ShowEnd(const CComBSTR& text) {
  const HRESULT result = qx::guarded([&] {
    Form()->ShowProgressComplete();
    DisplayProgressMessage(text, 0);
    qx::currentClock().sleepFor(kReadingTime);
    // The message may have opened another form.
    CFrmInitProgress* const form = Form();
    if (form == nullptr) qx::raiseError(E_POINTER);
    form->PutVisible(false);
  });
  return result >= 0;
}
