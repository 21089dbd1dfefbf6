// Helpers on host objects: codes of user tables, the status bar, the selected form.

#include "qxframework/automation/format.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/form.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/recordset_cell.h"
#include "qxframework/util/next_code.h"
#include "qxframework/util/qx_util.h"

namespace {

constexpr long kDisplayValue = 20;  // the host's number for the time of display

const qx::TextByQuoting kSelectMaxCode{.brackets = u"SELECT MAX(Code) FROM [%s]",
                                       .bare = u"SELECT MAX(Code) FROM %s",
                                       .doubleQuotes = u"SELECT MAX(\"Code\") FROM \"%s\""};

}  // namespace

std::u16string qx::highestCodeQuery(const Dialect& dialect, std::u16string_view table) {
  return format(kSelectMaxCode.of(dialect), table);
}

CComBSTR CQXUtil::GetNextCodeValue(long appId, CComPtr<ICompany> company, CComBSTR table,
                                   long* number) {
  CReturnValue<CComBSTR> code(u"CQXUtil::GetNextCodeValue", CComBSTR(u""), appId, false);
  try {
    const std::u16string sql =
        qx::highestCodeQuery(qx::dialectOf(company->GetDbServerType()), table.View());
    const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
    code.LogDbg0(u"SQL: \"%s\"\n", sql);
    recordset->DoQuery(CComBSTR(sql));
    const std::u16string highest = qx::cellText(recordset, 0);
    // The number has 32 bits: the highest is followed by the lowest.
    const long next = highest.empty() ? 0 : qx::resultCode(qx::leadingNumber(highest, 16) + 1);
    if (number != nullptr) *number = next;
    code = CComBSTR(qx::format(u"%08X", next));
  } catch (const _com_error&) {
    code.LogError(u"Failed to get max. Code value for table '%s'.\n", table.View());
  }
  return code;
}

long CQXUtil::SetStatusBarMessage(CComPtr<IApplication> application, HvStatusBarMessageType type,
                                  CComBSTR text) {
  CReturnValue<long> hr(u"CQXUtil::SetStatusBarMessage", 0, -1, true);
  try {
    hr = application->GetStatusBar()->SetText(text, kDisplayValue, type);
  } catch (const _com_error& error) {
    hr = error.Error();
  }
  return hr;
}

long CQXUtil::SetStatusBarErrorMessage(CComPtr<IApplication> application, CComBSTR text) {
  return SetStatusBarMessage(application, smt_Error, text);
}

long CQXUtil::SetStatusBarInfoMessage(CComPtr<IApplication> application, CComBSTR text) {
  return SetStatusBarMessage(application, smt_Info, text);
}

long CQXUtil::SetStatusBarWarningMessage(CComPtr<IApplication> application, CComBSTR text) {
  return SetStatusBarMessage(application, smt_Warning, text);
}

CComPtr<IForm> CQXUtil::GetSelectedForm(CComPtr<IApplication> application) {
  const CComPtr<IForms> forms = application->GetForms();
  const long count = forms->Count();
  for (long i = 0; i < count; ++i) {
    CComPtr<IForm> form = forms->Item(CComVariant(i));
    if (form->GetSelected() == VARIANT_TRUE) return form;
  }
  return count > 0 ? forms->Item(CComVariant(0L)) : nullptr;
}
