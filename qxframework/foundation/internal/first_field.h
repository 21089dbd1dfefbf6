#pragma once

// Results of the host's data helper, which arrive as recordsets.

#include "qxframework/automation/variant.h"
#include "qxframework/host/recordset.h"

namespace qx {

/// Returns the first field of the current row as text: the result of an IDataHelper operation.
/// Throws a _com_error if the field cannot be read or is no text or number.
inline CComBSTR firstFieldText(const CComPtr<IRecordset>& answer) {
  CComVariant text = answer->GetFields()->Item(CComVariant(0L))->GetValue();
  raiseIfFailed(text.ChangeType(VT_BSTR));
  return CComBSTR(viewOfBstr(text.bstrVal));
}

}  // namespace qx
