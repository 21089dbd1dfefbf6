#include "qxframework/runtime/addon_form.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/format.h"
#include "qxframework/forms/addon_xml_form.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/internal/framework_texts.h"

#include <algorithm>
#include <memory>

namespace {

using Scope = CReturnValue<long>;

constexpr std::uint32_t kSentinelId = 0xFFFFFFFF;

// Every form object of the process. Forms belong to the add-on's one thread, so no lock is needed.
// It is never destroyed, since forms may be left open until the process ends.
std::vector<CQXAddOnForm*>& liveForms() {
  static auto* const forms = new std::vector<CQXAddOnForm*>;
  return *forms;
}

long applicationNumber(const CComPtr<IApplication>& application) {
  long id = -1;
  if (application != nullptr && application->raw_GetAppId(&id) < 0) id = -1;
  return id;
}

}  // namespace

CQXAddOnForm::CQXAddOnForm(const CQXAddOn* addOn, long resourceId)
    : m_lResourceId(resourceId), m_pAddOn(addOn) {
  liveForms().push_back(this);
}

// The sink and other forms may still point to this object, if its owner deletes it while its host
// form is open.
CQXAddOnForm::~CQXAddOnForm() {
  std::erase(liveForms(), this);
  for (CQXAddOnForm* const other : liveForms()) {
    if (other->m_pParent == this) other->m_pParent = nullptr;
    if (other->m_pChild == this) other->m_pChild = nullptr;
  }
  qx::FormRegistry::forgetEverywhere(this);
}

bool CQXAddOnForm::IsLive(const CQXAddOnForm* form) {
  const auto& forms = liveForms();
  return std::find(forms.begin(), forms.end(), form) != forms.end();
}

// A child hands over its key when it closes, so the pointer to it would dangle.
long CQXAddOnForm::put_Key(const OLECHAR* key) {
  m_bstrKey = key;
  m_pChild = nullptr;
  return S_OK;
}

long CQXAddOnForm::OnMenuEvent(CComPtr<IMenuEvent>, short*) { return S_OK; }
long CQXAddOnForm::OnFormDataEvent(CComPtr<IBusinessObjectInfo>, short*) { return S_OK; }
long CQXAddOnForm::OnRightClickEvent(CComPtr<IContextMenuInfo>, short*) { return S_OK; }
long CQXAddOnForm::OnInitForm() { return S_OK; }
long CQXAddOnForm::OnCreateForm(CQXAddOnXMLForm*) { return S_OK; }
long CQXAddOnForm::OnFormLoaded() { return S_OK; }
long CQXAddOnForm::OnUnloadForm() { return S_OK; }

long CQXAddOnForm::FixFormSize() {
  Scope hr(u"CQXAddOnForm::FixFormSize", 0, LogId());
  constexpr long kFrameHeight = 30;
  constexpr long kFrameWidth = 10;
  const long height = m_ptrForm->GetHeight();
  const long width = m_ptrForm->GetWidth();
  const long clientHeight = m_ptrForm->GetClientHeight();
  const long clientWidth = m_ptrForm->GetClientWidth();
  if (height - clientHeight > kFrameHeight) m_ptrForm->PutHeight(height + 12);
  if (width - clientWidth > kFrameWidth) m_ptrForm->PutWidth(width + 8);
  return hr;
}

long CQXAddOnForm::GetFormUID(CComBSTR& uid, CComBSTR& extId) {
  if (m_ptrForm == nullptr) return E_POINTER;
  uid = m_ptrForm->GetUniqueID();
  extId = CComBSTR(m_strExtId);
  return S_OK;
}

long CQXAddOnForm::PutCompany(CComPtr<ICompany> company) {
  m_ptrCompany = company;
  return S_OK;
}

long CQXAddOnForm::PutParent(CQXAddOnForm* parent) {
  m_pParent = parent;
  return S_OK;
}

long CQXAddOnForm::PutChild(CQXAddOnForm* child) {
  m_pChild = child;
  return S_OK;
}

long CQXAddOnForm::PutCopyKey(CComBSTR& key) {
  m_bstrCopyKey = key;
  return S_OK;
}

long CQXAddOnForm::PutInitialFormMode(_HVX_ADDON_FORM_MODE mode) {
  m_InitialFormMode = mode;
  return S_OK;
}

// The client may unload the form while it is created: a hook closes it, or the user does. The sink
// then deletes the object when this call ends, unless the call throws: then the caller does.
long CQXAddOnForm::CreateForm(CComPtr<IApplication> application, CComPtr<ICompany> company) {
  CQXEventSink* const sink = m_pAddOn == nullptr ? nullptr : m_pAddOn->GetEventSink();
  if (sink == nullptr) return Create(application, company);
  qx::RunningForms::Call call(sink->runningForms(), this);
  try {
    return Create(application, company);
  } catch (...) {
    call.leaveToCaller();
    throw;
  }
}

long CQXAddOnForm::Create(const CComPtr<IApplication>& application,
                          const CComPtr<ICompany>& company) {
  Scope hr(u"CQXAddOnForm::CreateForm", 0, applicationNumber(application));
  InitXMLMap();
  InitFormType();
  m_ptrCompany = company;
  m_ptrApp = application;
  std::unique_ptr<CQXAddOnXMLForm> xmlForm = BuildXMLForm(hr);
  // The count stays raised if a later step fails: only UnloadForm lowers it.
  m_lInstance = IncrementInstance();
  OpenInClient(hr, *xmlForm);
  hr = qx::guarded([&] { return OnInitForm(); });
  if (hr < 0) FailCreation(hr, u"OnInitForm() failed (form type = %s).\n");
  hr = qx::guarded([&] { return RegisterForm(); });
  if (hr < 0) FailCreation(hr, u"RegisterForm() failed (form type = %s).\n");
  hr = qx::guarded([&] { return OnFormLoaded(); });
  if (hr < 0) {
    // The form decided not to open, which is no failure of its creator.
    m_ptrForm->raw_Close();
    hr.LogError(u"OnFormLoaded() failed (form type = %s).\n", m_bstrFormType.View());
    hr = S_OK;
  }
  xmlForm.reset();
  try {
    m_ptrForm->PutVisible(VARIANT_TRUE);
  } catch (const _com_error& error) {
    // A hidden form that has no object any more could never be closed by its user.
    CloseAndRaise(error.Error());
  }
  return hr;
}

// Loads the form's document and lets the form change it.
std::unique_ptr<CQXAddOnXMLForm> CQXAddOnForm::BuildXMLForm(Scope& hr) {
  CQXAddOnXMLForm* created = nullptr;
  const bool isCreated = CreateXMLForm(&created);
  std::unique_ptr<CQXAddOnXMLForm> xmlForm(created);
  hr = isCreated ? qx::guarded([&] { return OnCreateForm(created); }) : E_FAIL;
  if (hr < 0) {
    hr.LogError(u"OnCreateForm() failed.\n");
    qx::raiseError(hr);
  }
  return xmlForm;
}

// Sends the document to the client, which opens the form hidden, and finds the form.
void CQXAddOnForm::OpenInClient(Scope& hr, CQXAddOnXMLForm& xmlForm) {
  const auto element = xmlForm.GetForm();
  // The document cuts the UID, and the client knows the form by what is left.
  const CComBSTR uid = xmlForm.SetAttribute(element, u"uid", CreateUID(m_bstrFormType))->text();
  xmlForm.SetAttribute(element, u"visible", u"0");
  try {
    hr = m_ptrApp->LoadBatchActions(xmlForm.GetXML());
    hr.LogInfo(u"LoadBatchActions returned: %s\n", m_ptrApp->GetLastBatchResults().View());
    m_ptrForm = m_ptrApp->GetForms()->Item(CComVariant(uid));
    if (m_ptrForm == nullptr) {
      hr = E_POINTER;
      hr.LogError(u"LoadBatchActions succeeded but form does not exist!\n");
      qx::raiseError(hr);
    }
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"LoadBatchActions() failed (form type = %s): %s\n", m_bstrFormType.View(),
                Scope::xstrerror(static_cast<unsigned long>(hr)));
    throw;
  }
}

void CQXAddOnForm::FailCreation(Scope& hr, const OLECHAR* message) {
  m_ptrForm->raw_Close();
  hr.LogError(message, m_bstrFormType.View());
  qx::raiseError(hr);
}

bool CQXAddOnForm::CreateXMLForm(CQXAddOnXMLForm** xmlForm) {
  const CQXResourceLoader* const loader =
      m_pAddOn == nullptr ? nullptr : const_cast<CQXAddOn*>(m_pAddOn)->GetResourceLoader();
  return loader != nullptr && CreateXMLFormFrom(xmlForm, *loader);
}

bool CQXAddOnForm::CreateXMLFormFrom(CQXAddOnXMLForm** xmlForm, const CQXResourceLoader& loader) {
  const Scope hr(u"CQXAddOnForm::CreateXMLForm", 0, LogId());
  const HvLanguages language = m_ptrApp->GetLanguage();
  if (m_bstrXML.IsEmpty()) {
    *xmlForm = new CQXAddOnXMLForm(LogId(), static_cast<unsigned int>(m_lResourceId), loader,
                                   &m_vecXMLMap, language);
  } else {
    *xmlForm = new CQXAddOnXMLForm(LogId(), m_bstrXML, loader, &m_vecXMLMap, language);
  }
  return true;
}

long CQXAddOnForm::InitForm(CComPtr<IApplication> application, CComPtr<IForm> form) {
  Scope hr(u"CQXAddOnForm::InitForm", 0, applicationNumber(application));
  InitXMLMap();
  InitFormType();
  if (application == nullptr || form == nullptr) {
    hr = E_POINTER;
    qx::raiseError(hr);
  }
  m_ptrApp = application;
  m_ptrForm = form;
  // Counted before the hook, which may make UIDs from the number.
  m_lInstance = IncrementInstance();
  hr = qx::guarded([&] { return OnInitForm(); });
  if (hr < 0) {
    hr.LogError(u"OnFormInit() failed.\n");
    CloseAndRaise(hr);
  }
  hr = qx::guarded([&] { return RegisterForm(); });
  if (hr < 0) {
    hr.LogError(u"RegisterForm() failed.\n");
    CloseAndRaise(hr);
  }
  return hr;
}

// The first failure is what the caller gets, so the result of the closing is ignored.
void CQXAddOnForm::CloseAndRaise(long code) {
  m_ptrForm->raw_Close();
  qx::raiseError(code);
}

// Frozen: the name in the log lacks the leading C.
long CQXAddOnForm::RegisterForm() {
  Scope hr(u"QXAddOnForm::RegisterForm", 0, LogId());
  hr = m_pAddOn == nullptr ? E_POINTER : m_pAddOn->RegisterForm(this);
  if (hr < 0) {
    hr.LogError(u"Register form failed.\n");
    qx::raiseError(hr);
  }
  return hr;
}

long CQXAddOnForm::UnloadForm() {
  Scope hr(u"CQXAddOnForm::UnloadForm", 0, LogId());
  DecrementInstance();
  hr = OnUnloadForm();
  return hr;
}

CComBSTR CQXAddOnForm::CreateUID(const OLECHAR* type) {
  return CComBSTR(qx::format(u"%s_%d", type, m_lInstance));
}

CComBSTR CQXAddOnForm::HVXItemUIDToResourceSymbol(long id) {
  for (const XMLMAP& row : m_vecXMLMap) {
    // Rows after a closing row do not count, as in every symbol table.
    if (row.id == kSentinelId) break;
    if (row.id == static_cast<std::uint32_t>(id)) return CComBSTR(row.tag);
  }
  return DecimalUID(id);
}

long CQXAddOnForm::LogId() const { return applicationNumber(m_ptrApp); }

CComBSTR CQXAddOnForm::DecimalUID(long id) { return CComBSTR(qx::format(u"%d", id)); }

CQXAddOnFormInternal::CQXAddOnFormInternal(const CQXAddOn* addOn)
    : CQXAddOnForm(addOn, -1), m_Loader(qx::frameworkModule()) {}

CQXAddOnFormInternal::~CQXAddOnFormInternal() = default;

bool CQXAddOnFormInternal::CreateXMLForm(CQXAddOnXMLForm** xmlForm) {
  return CreateXMLFormFrom(xmlForm, m_Loader);
}

CComBSTR CQXAddOnFormInternal::LoadText(unsigned int id) {
  const HvLanguages language = m_ptrApp->GetLanguage();
  CQXBSTR text(u"", language);
  m_Loader.LoadStringW(text, id, language);
  return text;
}
