#pragma once

// The calling side of an interface. The inline wrappers of the host's interfaces are built from
// these functions. Each one calls `method(args…, &out)` on `object`, throws _com_error for a
// negative code and returns `out`.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"

namespace qx {

/// Calls an operation whose out value is an object.
template <class Out, class I, class... Params, class... Args>
CComPtr<Out> getObject(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComPtr<Out> out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out.p));
  return out;
}

/// Calls an operation whose out value is a number, an enumerator or another plain value.
template <class Out, class I, class... Params, class... Args>
Out getValue(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  Out out{};
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out));
  return out;
}

/// Calls an operation whose out value is a text; the result owns it.
template <class I, class... Params, class... Args>
CComBSTR getText(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComBSTR out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out.m_str));
  return out;
}

/// Calls an operation whose out value is a VARIANT; the result owns its content.
template <class I, class... Params, class... Args>
CComVariant getVariant(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComVariant out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out));
  return out;
}

/// Calls an operation without an out value and returns its code, which is not negative.
template <class I, class... Params, class... Args>
HRESULT call(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  return raiseIfFailed((object->*method)(std::forward<Args>(args)...));
}

}  // namespace qx
