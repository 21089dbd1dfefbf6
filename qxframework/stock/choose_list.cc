#include "qxframework/stock/choose_list.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/stock/internal/choose_list_form.h"

#include <memory>
#include <new>

namespace {

using Scope = CReturnValue<long>;

constexpr OLECHAR kNoInstance[] = u"Failed to create instance of CFrmAddOnChooseList (%s).\n";

const OLECHAR* wordsOf(long code) { return Scope::xstrerror(static_cast<unsigned long>(code)); }

CComPtr<IRecordset> runQuery(Scope& hr, const CComPtr<ICompany>& company, const CComBSTR& sql) {
  const CComQIPtr<IRecordset> records(company->GetBusinessObject(qx::kRecordset));
  hr.LogDbg0(u"SQL: \"%s\"\n", sql.View());
  try {
    records->DoQuery(sql);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Exception caught while DoQuery: %s\n", wordsOf(hr));
    hr.LogError(u"SQL was: \"%s\"\n", sql.View());
    throw;
  }
  return records;
}

// Hands over the key of the only row.
void putOnlyKey(Scope& hr, IRecordset& records, CQXAddOnForm& parent) {
  records.MoveFirst();
  const CComPtr<IField> field = records.GetFields()->Item(CComVariant(0L));
  const long type = field->GetType();
  if (type != qx::kTextField && type != qx::kNumberField) {
    hr = E_INVALIDARG;
    hr.LogError(u"Not supported data type as key (%d)\n", type);
    qx::raiseError(hr);
  }
  CComVariant key = field->GetValue();
  qx::raiseIfFailed(key.ChangeType(VT_BSTR));
  parent.put_Key(key.bstrVal);
}

// A target form that is missing is reported with the words for the list itself. Frozen. The caller
// may also have deleted it since it opened the list.
void refuseMissing(Scope& hr, const CQXAddOnForm* form) {
  if (CQXAddOnForm::IsLive(form)) return;
  hr = E_POINTER;
  hr.LogError(kNoInstance, wordsOf(hr));
  qx::raiseError(hr);
}

}  // namespace

long CQXChooseList::GetKey(CComBSTR subtitle, CComBSTR findText, CComBSTR sql, bool allowNew,
                           bool allowCopy, CQXAddOnForm* parent, CComPtr<IApplication> application,
                           CComPtr<ICompany> company, bool alwaysShow, bool hideFirstColumn,
                           CQXAddOnForm* targetForm) {
  Scope hr(u"CQXChooseList::GetKey", 0, 0);
  if (company == nullptr) {
    hr = E_POINTER;
    hr.LogError(u"Company pointer not set.\n");
    qx::raiseError(hr);
  }
  // Refused before the query runs: without a parent there is no one to take the key.
  if (parent == nullptr) {
    hr = E_POINTER;
    hr.LogError(u"Parent form not set.\n");
    qx::raiseError(hr);
  }
  const CComPtr<IRecordset> records = runQuery(hr, company, sql);
  if (!alwaysShow && records->GetRecordCount() == 1) {
    putOnlyKey(hr, *records.p, *parent);
    return hr;
  }
  std::unique_ptr<CFrmAddOnChooseList> form(new (std::nothrow)
                                                CFrmAddOnChooseList(parent->GetAddOn()));
  if (form == nullptr) {
    hr = E_OUTOFMEMORY;
    hr.LogError(kNoInstance, wordsOf(hr));
    qx::raiseError(hr);
  }
  form->PutParent(parent);
  form->InitChooseList(subtitle, findText, records, allowNew ? &ChooseListNew : nullptr,
                       allowCopy ? &ChooseListCopy : nullptr, hideFirstColumn, targetForm);
  parent->PutChild(form.get());
  try {
    qx::openForm(std::move(form), application, company);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Failed to create form CFrmAddOnChooseList (%s).\n", wordsOf(hr));
    throw;
  }
  return hr;
}

long CQXChooseList::ChooseListNew(CQXAddOnForm* form, CComPtr<IApplication> application,
                                  CComPtr<ICompany> company, CQXAddOnForm* parent) {
  Scope hr(u"CQXChooseList::ChooseListNew", 0, 0);
  refuseMissing(hr, form);
  form->PutParent(parent);
  form->PutInitialFormMode(afm_New);
  hr = form->CreateForm(application, company);
  return hr;
}

long CQXChooseList::ChooseListCopy(CQXAddOnForm* form, CComPtr<IApplication> application,
                                   CComPtr<ICompany> company, CQXAddOnForm* parent, CComBSTR key) {
  Scope hr(u"CQXChooseList::ChooseListCopy", 0, 0);
  refuseMissing(hr, form);
  form->PutParent(parent);
  form->PutInitialFormMode(afm_Copy);
  form->PutCopyKey(key);
  hr = form->CreateForm(application, company);
  return hr;
}
