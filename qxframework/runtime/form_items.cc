// How a form reaches the items of its host form.

#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon_form.h"

namespace {

using Scope = CReturnValue<long>;
using TextScope = CReturnValue<CComBSTR>;

// Types of items and columns.
constexpr long kButton = 4;
constexpr long kEdit = 16;
constexpr long kLinkedButton = 116;

CComBSTR selectedValue(const CComPtr<IComboBox>& comboBox) {
  const CComPtr<IValidValue> selected = comboBox->GetSelected();
  return selected == nullptr ? CComBSTR(u"") : selected->GetValue();
}

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
  if (type == kEdit || type == kButton) item->Click(0);
}

void CQXAddOnForm::SetItemFocus(unsigned int id) { SetItemFocus(DecimalUID(id)); }

void CQXAddOnForm::SetItemFocus(unsigned int matrixId, unsigned int columnId, unsigned int row) {
  const CReturnValue<void> scope(u"CQXAddOnForm::SetItemFocus", LogId());
  const CComPtr<IMatrix> matrix = GetFormItemSpecific<IMatrix>(static_cast<long>(matrixId));
  const CComPtr<IColumn> column = matrix->GetColumns()->Item(CComVariant(DecimalUID(columnId)));
  const long type = column->GetType();
  if (type != kEdit && type != kButton && type != kLinkedButton) return;
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
