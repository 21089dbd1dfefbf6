#pragma once

// The base of the objects that an add-on holds. Each keeps the client alive, refers weakly to what
// it shows, and runs every operation through the call gate; an operation may release the last
// reference to its own object, by way of an event.

#include "qxdesk/screens/model/uid.h"
#include "qxdesk/screens/objects/client.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/variant.h"

#include <memory>
#include <utility>

namespace qx::screens {

template <class Interface>
class HostObject : public ComObject<NoDispatch<Interface>> {
 public:
  explicit HostObject(std::shared_ptr<Client> client) : client_(std::move(client)) {}

 protected:
  template <class Body>
  HRESULT run(Body&& body) {
    const CComPtr<Interface> self(this);
    return desk::hostCall(std::forward<Body>(body));
  }
  /// For an operation with an out value of a plain type: `body` gives the value.
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
    return give(out, [&] { return body() ? VARIANT_TRUE : VARIANT_FALSE; });
  }
  /// For a text; the name tells it from qx::giveText.
  template <class Body>
  HRESULT giveString(BSTR* out, Body&& body) {
    return run([&]() -> HRESULT { return out == nullptr ? E_POINTER : giveText(body(), out); });
  }
  /// For an object: `body` gives a CComPtr, which may be null.
  template <class Out, class Body>
  HRESULT giveNew(Out** out, Body&& body) {
    return run([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = nullptr;
      return giveObject<Out>(body(), out);
    });
  }

  Client& client() const { return *client_; }
  Desk& desk() const { return client_->desk(); }
  const std::shared_ptr<Client>& clientPtr() const { return client_; }

 private:
  std::shared_ptr<Client> client_;
};

/// S_OK, or S_FALSE for an action that an add-on vetoed.
constexpr HRESULT outcome(bool done) { return done ? S_OK : S_FALSE; }

/// What `name` names in a collection. Raises DISP_E_TYPEMISMATCH for a value that is neither a
/// whole number nor a text.
EntryName entryNameOf(const VARIANT& name);

}  // namespace qx::screens
