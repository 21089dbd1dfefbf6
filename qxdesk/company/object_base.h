#pragma once

#include "qxframework/automation/com_object.h"

namespace qx::desk {

/// Base of the objects here: counted, one interface, not called by dispatch id.
template <class Interface>
using HostObject = NoDispatch<ComObject<Interface>>;

/// Writes an out value; E_POINTER without one.
template <class T>
HRESULT giveValue(T value, T* out) {
  if (out == nullptr) return E_POINTER;
  *out = value;
  return S_OK;
}

inline VARIANT_BOOL variantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

}  // namespace qx::desk
