#pragma once

// The calling side of an interface: what the inline wrappers of the host's interfaces are made of.
// Each calls `method(args…, &out)` on `object`, raises _com_error for a code below 0 and returns
// `out`.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"

namespace qx {

template <class Out, class I, class... Params, class... Args>
CComPtr<Out> getObject(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComPtr<Out> out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out.p));
  return out;
}

template <class Out, class I, class... Params, class... Args>
Out getValue(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  Out out{};
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out));
  return out;
}

template <class I, class... Params, class... Args>
CComBSTR getText(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComBSTR out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out.m_str));
  return out;
}

template <class I, class... Params, class... Args>
CComVariant getVariant(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  CComVariant out;
  raiseIfFailed((object->*method)(std::forward<Args>(args)..., &out));
  return out;
}

/// For a call without an out value: the code of success.
template <class I, class... Params, class... Args>
HRESULT call(I* object, HRESULT (I::*method)(Params...), Args&&... args) {
  return raiseIfFailed((object->*method)(std::forward<Args>(args)...));
}

}  // namespace qx
