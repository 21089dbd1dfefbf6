// The items of a form: finding them, moving the focus, reading selections and dates.

#include "qxframework/automation/format.h"
#include "qxframework/host/item_types.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon_form.h"

namespace {

using Scope = CReturnValue<long>;
using TextScope = CReturnValue<CComBSTR>;

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

// The data helper returns one row with one field.
CComVariant onlyField(const CComPtr<IRecordset>& answer, VARTYPE type) {
  CComVariant value = answer->GetFields()->Item(CComVariant(0L))->GetValue();
  qx::raiseIfFailed(value.ChangeType(type));
  return value;
}

}  // namespace

CComPtr<IDataHelper> CQXAddOnForm::DataHelper() {
  return CComQIPtr<IDataHelper>(m_ptrCompany->GetBusinessObject(qx::kDataHelper));
}

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
