#pragma once

#include "qxframework/automation/com_object.h"

namespace qx::desk {

/// Base of the objects here: counted, one interface, not called by dispatch id.
template <class Interface>
using HostObject = NoDispatch<ComObject<Interface>>;

/// Base of an object that is a member of another and lives as long as that: it has no count of its
/// own but counts on its owner.
template <class Interface>
class HostPart : public NoDispatch<Interface> {
 public:
  explicit HostPart(IUnknown& owner) : owner_(owner) {}
  HostPart(const HostPart&) = delete;
  HostPart& operator=(const HostPart&) = delete;
  virtual ~HostPart() = default;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    const bool has = iid == Interface::kIid || iid == IDispatch::kIid || iid == IUnknown::kIid;
    *object = has ? static_cast<Interface*>(this) : nullptr;
    if (!has) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return owner_.AddRef(); }
  ULONG Release() override { return owner_.Release(); }

 private:
  IUnknown& owner_;
};

/// Writes an out value; E_POINTER without one.
template <class T>
HRESULT giveValue(T value, T* out) {
  if (out == nullptr) return E_POINTER;
  *out = value;
  return S_OK;
}

inline VARIANT_BOOL variantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

}  // namespace qx::desk
