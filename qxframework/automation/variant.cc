#include "qxframework/automation/variant.h"

HRESULT VariantClear(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  const VARIANT held = *value;
  *value = VARIANT();  // first, so that an object's farewell finds the value already empty
  if (held.vt == VT_BSTR) SysFreeString(held.bstrVal);
  if ((held.vt == VT_DISPATCH || held.vt == VT_UNKNOWN) && held.punkVal != nullptr)
    held.punkVal->Release();
  return S_OK;
}

HRESULT VariantCopy(VARIANT* to, const VARIANT* from) {
  if (to == nullptr || from == nullptr) return E_POINTER;
  if (to == from) return S_OK;
  VARIANT copy = *from;
  if (copy.vt == VT_BSTR && copy.bstrVal != nullptr) {
    copy.bstrVal = SysAllocStringLen(from->bstrVal, SysStringLen(from->bstrVal));
    if (copy.bstrVal == nullptr) return E_OUTOFMEMORY;
  }
  if ((copy.vt == VT_DISPATCH || copy.vt == VT_UNKNOWN) && copy.punkVal != nullptr)
    copy.punkVal->AddRef();
  VariantClear(to);
  *to = copy;
  return S_OK;
}
