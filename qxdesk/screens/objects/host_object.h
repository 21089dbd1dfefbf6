#pragma once

// The base of the objects that an add-on holds. Each of them keeps the client alive, refers weakly
// to the part of the desk that it shows, and runs every operation through the call gate. It also
// holds itself during an operation: by way of an event, an operation may release the last reference
// to its own object.

#include "qxdesk/screens/model/uid.h"
#include "qxdesk/screens/objects/client.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/variant.h"

#include <memory>
#include <string>
#include <utility>

namespace qx::screens {

template <class Interface>
class HostObject : public ComObject<NoDispatch<Interface>> {
 public:
  explicit HostObject(std::shared_ptr<Client> client) : client_(std::move(client)) {}

 protected:
  /// Runs an operation. `body` returns a result code or nothing.
  template <class Body>
  HRESULT run(Body&& body) {
    const CComPtr<Interface> self(this);
    return desk::hostCall(std::forward<Body>(body));
  }
  /// Runs an operation with an out value of a plain type, which `body` returns. A null `out` is
  /// refused with E_POINTER, here and below.
  template <class Out, class Body>
  HRESULT give(Out* out, Body&& body) {
    return run([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = static_cast<Out>(body());
      return S_OK;
    });
  }
  /// Does the same for a boolean.
  template <class Body>
  HRESULT giveFlag(VARIANT_BOOL* out, Body&& body) {
    return give(out, [&] { return body() ? VARIANT_TRUE : VARIANT_FALSE; });
  }
  /// Does the same for a text. The name avoids qx::giveText, which this would hide.
  template <class Body>
  HRESULT giveString(BSTR* out, Body&& body) {
    return run([&]() -> HRESULT { return out == nullptr ? E_POINTER : giveText(body(), out); });
  }
  /// Does the same for an object: `body` returns a CComPtr, which may be null.
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

/// The base of an object that shows a part of the desk, to which `Link` refers.
template <class Interface, class Link>
class LinkedObject : public HostObject<Interface> {
 public:
  LinkedObject(std::shared_ptr<Client> client, Link link)
      : HostObject<Interface>(std::move(client)), link_(std::move(link)) {}

 protected:
  const Link& link() const { return link_; }
  /// Return the form and the item of a link that has them; throw as the link does.
  std::shared_ptr<FormModel> form() const { return link_.form(); }
  auto item() const { return link_.item(); }

 private:
  Link link_;
};

/// S_OK, or S_FALSE for an action that an add-on vetoed.
constexpr HRESULT outcome(bool done) { return done ? S_OK : S_FALSE; }

inline std::u16string textOf(BSTR text) { return std::u16string(viewOfBstr(text)); }

/// Returns the index or the UID that `name` holds. Throws DISP_E_TYPEMISMATCH for a value that is
/// neither a whole number nor a text.
EntryName entryNameOf(const VARIANT& name);

/// Returns the entry that `name` names. Throws as entryNameOf() does, and `ifNone` if there is no
/// such entry.
template <class Entries>
typename Entries::value_type entryOf(const Entries& entries, const VARIANT& name, HRESULT ifNone) {
  auto entry = findEntry(entries, entryNameOf(name));
  if (entry == nullptr) raiseError(ifNone);
  return entry;
}

}  // namespace qx::screens
