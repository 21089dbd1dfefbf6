#include "qxdesk/screens/objects/host_object.h"

namespace qx::screens {

EntryName entryNameOf(const VARIANT& name) {
  EntryName out;
  if (name.vt == VT_BSTR) {
    out.uid = viewOfBstr(name.bstrVal);
    return out;
  }
  // A double or a boolean would convert as well, but is a mistake of the add-on.
  CComVariant number;
  const bool isNumber = name.vt == VT_I2 || name.vt == VT_I4 || name.vt == VT_INT ||
                        name.vt == VT_UI2 || name.vt == VT_UI4 || name.vt == VT_UINT ||
                        name.vt == VT_I8 || name.vt == VT_I1 || name.vt == VT_UI1;
  if (!isNumber) raiseError(DISP_E_TYPEMISMATCH);
  raiseIfFailed(VariantChangeTypeEx(&number, &name, 1033, 0, VT_I4));
  out.byIndex = true;
  out.index = number.lVal;
  return out;
}

}  // namespace qx::screens
