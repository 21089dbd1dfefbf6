#include "qxframework/runtime/addon_form.h"

#include "qxframework/automation/format.h"
#include "qxframework/host/item_types.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon.h"

namespace {

using Scope = CReturnValue<long>;

using TextScope = CReturnValue<CComBSTR>;

constexpr std::uint32_t kSentinelId = 0xFFFFFFFF;

CComBSTR selectedValue(const CComPtr<IComboBox>& comboBox) {
  const CComPtr<IValidValue> selected = comboBox->GetSelected();
  return selected == nullptr ? CComBSTR(u"") : selected->GetValue();
}

// A combo box without a selection may return null or fail. Both read as empty.
template <class Read>
CComBSTR readIgnoringErrors(Read&& read, long appId) {
  TextScope text(u"CQXAddOnForm::GetSelectedInComboBox", u"", appId);
  try {
    text = read();
  } catch (const _com_error& error) {
    text.LogError(u"Ignoring exception while getting selected in combo box : %s\n",
                  TextScope::xstrerror(static_cast<unsigned long>(error.Error())));
  }
  return text;
}

}  // namespace

CQXAddOnForm::CQXAddOnForm(const CQXAddOn* addOn, long resourceId)
    : m_lResourceId(resourceId), m_pAddOn(addOn) {}

CQXAddOnForm::~CQXAddOnForm() = default;

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

long CQXAddOnForm::InitForm(CComPtr<IApplication> application, CComPtr<IForm> form) {
  long appId = -1;
  if (application != nullptr) application->raw_GetAppId(&appId);
  Scope hr(u"CQXAddOnForm::InitForm", 0, appId);
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
  hr = OnInitForm();
  if (hr < 0) {
    hr.LogError(u"OnFormInit() failed.\n");
    CloseAndRaise(hr);
  }
  try {
    hr = RegisterForm();
  } catch (const _com_error& error) {
    hr = error.Error();
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

long CQXAddOnForm::LogId() const {
  long id = -1;
  if (m_ptrApp != nullptr && m_ptrApp->raw_GetAppId(&id) < 0) id = -1;
  return id;
}

CComBSTR CQXAddOnForm::DecimalUID(long id) { return CComBSTR(qx::format(u"%d", id)); }

CComPtr<IDataHelper> CQXAddOnForm::DataHelper() {
  return CComQIPtr<IDataHelper>(m_ptrCompany->GetBusinessObject(qx::kDataHelper));
}

namespace {

// The data helper returns one row with one field.
CComVariant onlyField(const CComPtr<IRecordset>& answer, VARTYPE type) {
  CComVariant value = answer->GetFields()->Item(CComVariant(0L))->GetValue();
  qx::raiseIfFailed(value.ChangeType(type));
  return value;
}

}  // namespace

// Frozen: the log shows this function under the name of its opposite.
double CQXAddOnForm::DateFromString(const OLECHAR* text) {
  Scope hr(u"CQXAddOnForm::StringFromDate", 0, LogId());
  if (qx::viewOf(text).empty()) return 0;
  try {
    return onlyField(DataHelper()->FormatStringToDate(text), VT_DATE).date;
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Error converting String to DATE.\n");
  }
  return 0;
}

CComBSTR CQXAddOnForm::StringFromDate(double date) {
  Scope hr(u"CQXAddOnForm::StringFromDate", 0, LogId());
  try {
    return CComBSTR(onlyField(DataHelper()->FormatDateToString(date), VT_BSTR).bstrVal);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Error converting DATE to String.\n");
  }
  return CComBSTR(u"");
}

CComPtr<IItem> CQXAddOnForm::GetFormItem(CComBSTR uid) {
  Scope hr(u"CQXAddOnForm::GetFormItem", 0, LogId());
  try {
    return m_ptrForm->GetItems()->Item(CComVariant(uid));
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Cannot find item [%s].\n", uid.View());
    throw;
  }
}

CComPtr<IItem> CQXAddOnForm::GetFormItem(long id) { return GetFormItem(DecimalUID(id)); }

CComPtr<IDispatch> CQXAddOnForm::GetFormItemControl(const CComBSTR& uid) {
  const Scope hr(u"CQXAddOnForm::GetFormItemSpecific", 0, LogId());
  return GetFormItem(uid)->GetSpecific();
}

void CQXAddOnForm::SetItemFocus(CComBSTR uid) {
  const CReturnValue<void> scope(u"CQXAddOnForm::SetItemFocus", LogId());
  const CComPtr<IItem> item = GetFormItem(uid);
  const long type = item->GetType();
  if (type == qx::kEditText || type == qx::kButton) item->Click(0);
}

void CQXAddOnForm::SetItemFocus(unsigned int id) { SetItemFocus(DecimalUID(id)); }

void CQXAddOnForm::SetItemFocus(unsigned int matrixId, unsigned int columnId, unsigned int row) {
  const CReturnValue<void> scope(u"CQXAddOnForm::SetItemFocus", LogId());
  const CComPtr<IMatrix> matrix = GetFormItemSpecific<IMatrix>(static_cast<long>(matrixId));
  const CComPtr<IColumn> column = matrix->GetColumns()->Item(CComVariant(DecimalUID(columnId)));
  const long type = column->GetType();
  if (type != qx::kEditText && type != qx::kButton && type != qx::kLinkedButton) return;
  column->GetCells()->Item(CComVariant(static_cast<long>(row)))->Click(0, 0);
}

CComBSTR CQXAddOnForm::GetSelectedInComboBox(unsigned int id) {
  return readIgnoringErrors(
      [&] { return selectedValue(GetFormItemSpecific<IComboBox>(static_cast<long>(id))); },
      LogId());
}

CComBSTR CQXAddOnForm::GetSelectedInComboBox(CComPtr<IComboBox> comboBox) {
  return readIgnoringErrors([&] { return selectedValue(comboBox); }, LogId());
}
