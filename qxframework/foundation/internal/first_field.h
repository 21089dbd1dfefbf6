#pragma once

#include "qxframework/automation/variant.h"
#include "qxframework/host/recordset.h"

namespace qx {

/// The first field of the current row as text: how the host's helper answers.
inline CComBSTR firstFieldText(const CComPtr<IRecordset>& answer) {
  CComVariant text = answer->GetFields()->Item(CComVariant(0L))->GetValue();
  raiseIfFailed(text.ChangeType(VT_BSTR));
  return CComBSTR(viewOfBstr(text.bstrVal));
}

}  // namespace qx
