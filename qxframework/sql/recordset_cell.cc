#include "qxframework/sql/recordset_cell.h"

#include "qxframework/host/recordset.h"

namespace qx {

CComVariant cellValue(IRecordset* recordset, long index, VARTYPE type) {
  CComVariant value;
  if (recordset->GetEoF() != VARIANT_TRUE)
    value = recordset->GetFields()->Item(CComVariant(index))->GetValue();
  // An empty value converts to every type, a null to none.
  if (value.vt == VT_NULL) value = CComVariant();
  raiseIfFailed(value.ChangeType(type));
  return value;
}

std::u16string cellText(IRecordset* recordset, long index) {
  return std::u16string(viewOfBstr(cellValue(recordset, index, VT_BSTR).bstrVal));
}

}  // namespace qx
