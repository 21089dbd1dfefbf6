#pragma once

// The base of the objects that an add-on holds. Each of them keeps the client alive and refers
// weakly to the part of the desk that it shows. All operations run by way of HostObjectBase, which
// holds the object meanwhile: an event during an operation may release the last reference to it.

#include "qxdesk/screens/model/uid.h"
#include "qxdesk/screens/objects/client.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/variant.h"

#include <memory>
#include <string>
#include <utility>

namespace qx::screens {

template <class Interface>
class HostObject : public desk::HostObjectBase<Interface> {
 public:
  explicit HostObject(std::shared_ptr<Client> client) : client_(std::move(client)) {}

 protected:
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
  /// Returns the form of the link. Throws as the link does. For links that lead to a form.
  auto form() const { return link_.form(); }
  /// Returns the item of the link. Throws as the link does. For links that lead to an item.
  auto item() const { return link_.item(); }

 private:
  Link link_;
};

/// Returns S_OK, or S_FALSE for an action that an add-on vetoed.
constexpr HRESULT outcome(bool done) { return done ? S_OK : S_FALSE; }

/// Returns a copy of the text; empty for null.
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
