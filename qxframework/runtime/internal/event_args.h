#pragma once

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"

namespace qx {

/// The arguments of one event, read by their position in the host's call. An argument of another
/// kind reads as null or 0. If the veto is of another kind, a substitute is returned and its value
/// lost.
class EventArgs {
 public:
  explicit EventArgs(const DISPPARAMS* params)
      : first_(params == nullptr ? nullptr : params->rgvarg),
        count_(first_ == nullptr ? 0 : params->cArgs) {}

  UINT count() const { return count_; }
  /// Returns a text that belongs to the host.
  BSTR text(UINT position) const {
    const VARIANT& value = at(position);
    if (value.vt == VT_BSTR) return value.bstrVal;
    if (value.vt == (VT_BSTR | VT_BYREF) && value.pbstrVal != nullptr) return *value.pbstrVal;
    return nullptr;
  }
  long number(UINT position) const {
    CComVariant value;
    const HRESULT hr = VariantChangeTypeEx(&value, &at(position), LOCALE_USER_DEFAULT, 0, VT_I4);
    return hr < 0 ? 0 : value.lVal;
  }
  CComPtr<IDispatch> object(UINT position) const {
    const VARIANT& value = at(position);
    if (value.vt == VT_DISPATCH) return value.pdispVal;
    if (value.vt == VT_UNKNOWN) return CComQIPtr<IDispatch>(value.punkVal);
    return nullptr;
  }
  /// Returns the object's interface `I`, or null if it does not have it.
  template <class I>
  CComPtr<I> object(UINT position) const {
    return CComQIPtr<I>(object(position));
  }
  /// Never null.
  short* bubble(UINT position) {
    const VARIANT& value = at(position);
    const bool isVeto = value.vt == (VT_BOOL | VT_BYREF) && value.pboolVal != nullptr;
    return isVeto ? value.pboolVal : &unseen_;
  }

 private:
  // Dispatch calls pass arguments in reverse order.
  const VARIANT& at(UINT position) const { return first_[count_ - 1 - position]; }

  const VARIANT* first_;
  UINT count_;
  short unseen_ = VARIANT_TRUE;
};

}  // namespace qx
