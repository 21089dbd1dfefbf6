#include "qxframework/stock/internal/init_progress_form.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/logging/function_log.h"

namespace {

using Scope = CReturnValue<long>;
using VoidScope = CReturnValue<void>;

constexpr unsigned kTextFailed = 202;
constexpr unsigned kTextCompleted = 203;

}  // namespace

long CFrmInitProgress::OnItemEvent(CComPtr<IItemEvent>, short*) {
  const Scope hr(u"CFrmInitProgress::OnItemEvent", 0, LogId());
  return S_OK;
}

long CFrmInitProgress::OnInitForm() {
  Scope hr(u"CFrmInitProgress::OnInitForm", 0, LogId());
  try {
    m_ptrMessage = GetFormItemSpecific<IStaticText>(kMessage);
    ClearProgressBar();
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Error: %s\n", Scope::xstrerror(static_cast<unsigned long>(hr)));
  }
  return hr;
}

void CFrmInitProgress::DisplayMessage(const OLECHAR* text, long steps) {
  const VoidScope scope(u"CFrmInitProgress::DisplayMessage", LogId());
  m_ptrMessage->PutCaption(text);
  if (steps > 0) ShowProgress(steps);
}

void CFrmInitProgress::ShowProgress(long steps) {
  const VoidScope scope(u"CFrmInitProgress::ShowProgress", LogId());
  for (long i = 0; i < steps; ++i) {
    if (m_lCellsShown == kCells) ClearProgressBar();
    SetItemVisible(kMessage + ++m_lCellsShown, true);
  }
}

void CFrmInitProgress::ShowProgressComplete() {
  const VoidScope scope(u"CFrmInitProgress::ShowProgressComplete", LogId());
  ShowProgress(kCells - m_lCellsShown);
}

void CFrmInitProgress::ClearProgressBar() {
  const VoidScope scope(u"CFrmInitProgress::ClearProgressBar", LogId());
  for (long cell = 1; cell <= kCells; ++cell) SetItemVisible(kMessage + cell, false);
  m_lCellsShown = 0;
}

// A cell that cannot be shown is no reason to stop the start of an add-on.
void CFrmInitProgress::SetItemVisible(long id, bool visible) {
  Scope hr(u"CFrmInitProgress::SetItemVisible", 0, LogId());
  try {
    GetFormItem(id)->PutVisible(visible ? VARIANT_TRUE : VARIANT_FALSE);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"Error: %s\n", Scope::xstrerror(static_cast<unsigned long>(hr)));
  }
}

void CFrmInitProgress::PutVisible(bool visible) {
  m_ptrForm->PutVisible(visible ? VARIANT_TRUE : VARIANT_FALSE);
}

CComBSTR CFrmInitProgress::EndText(bool success) {
  return LoadText(success ? kTextCompleted : kTextFailed);
}
