#include "qxframework/automation/variant.h"

#include "qxframework/automation/ole_date_time.h"

HRESULT VariantClear(VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  const VARIANT held = *value;
  // Before the object is released: its destructor may come back to this value and must find it
  // empty.
  *value = VARIANT();
  if (held.vt == VT_BSTR) SysFreeString(held.bstrVal);
  if ((held.vt == VT_DISPATCH || held.vt == VT_UNKNOWN) && held.punkVal != nullptr)
    held.punkVal->Release();
  return S_OK;
}

HRESULT VariantCopy(VARIANT* to, const VARIANT* from) {
  if (to == nullptr || from == nullptr) return E_POINTER;
  if (to == from) return S_OK;
  VARIANT copy = *from;
  // By length, because the text may contain zeros.
  if (copy.vt == VT_BSTR && copy.bstrVal != nullptr) {
    copy.bstrVal = SysAllocStringLen(from->bstrVal, SysStringLen(from->bstrVal));
    if (copy.bstrVal == nullptr) return E_OUTOFMEMORY;
  }
  if ((copy.vt == VT_DISPATCH || copy.vt == VT_UNKNOWN) && copy.punkVal != nullptr)
    copy.punkVal->AddRef();
  // Last: `from` may belong to the object that `to` releases.
  VariantClear(to);
  *to = copy;
  return S_OK;
}

// A date that is not valid keeps its last number, which must not be taken for a date.
CComVariant::CComVariant(const COleDateTime& day)
    : CComVariant(day.GetStatus() == COleDateTime::valid ? day.m_dt : 0.0, VT_DATE) {}
