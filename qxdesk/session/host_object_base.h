#pragma once

// The base of the host's objects, in both of its libraries: counted, with one interface, not called
// by dispatch id. Every operation runs through the call gate, and writes its out value only if the
// caller gave a place for it.
//
// Operations whose body may release the last reference to their own object run through the members
// here, which hold it. The free functions serve objects that are called for every cell of many
// rows, and parts that are counted in another way.

#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/variant.h"

#include <utility>

namespace qx::desk {

/// Writes an out value; returns E_POINTER if `out` is null.
template <class T>
HRESULT giveValue(T value, T* out) {
  if (out == nullptr) return E_POINTER;
  *out = value;
  return S_OK;
}

inline VARIANT_BOOL variantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

/// `Others` are further interfaces for use inside the host; the first one answers for IUnknown and
/// IDispatch.
template <class Interface, class... Others>
class HostObjectBase : public NoDispatch<ComObject<Interface, Others...>> {
 protected:
  /// Runs `body` through the call gate; this object lives until the end of it.
  template <class Body>
  HRESULT run(Body&& body) {
    const CComPtr<Interface> self(this);
    return hostCall(std::forward<Body>(body));
  }
  /// Writes the plain value that `body` returns. `body` does not run if `out` is null.
  template <class Out, class Body>
  HRESULT give(Out* out, Body&& body) {
    return run([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = static_cast<Out>(body());
      return S_OK;
    });
  }
  /// The same for a boolean.
  template <class Body>
  HRESULT giveFlag(VARIANT_BOOL* out, Body&& body) {
    return give(out, [&] { return variantBool(body()); });
  }
  /// The same for a text of UTF-16; the name keeps it apart from qx::giveText.
  template <class Body>
  HRESULT giveString(BSTR* out, Body&& body) {
    return run([&]() -> HRESULT { return out == nullptr ? E_POINTER : giveText(body(), out); });
  }
  /// The same for an object: `body` returns a CComPtr, which may be null.
  template <class Out, class Body>
  HRESULT giveNew(Out** out, Body&& body) {
    return run([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = nullptr;
      return giveObject<Out>(body(), out);
    });
  }
};

}  // namespace qx::desk
