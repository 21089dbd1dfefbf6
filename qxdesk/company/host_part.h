#pragma once

#include "qxframework/automation/com_object.h"

namespace qx::desk {

/// Base of the objects here: counted, one interface, not called by dispatch id.
template <class Interface>
using HostObject = NoDispatch<ComObject<Interface>>;

/// Base of an object that is a member of another and lives as long as that: while it is held, it
/// holds its owner once. The count is a plain one, since a part belongs to the thread that works
/// with its owner, and rows are read by a part for each cell.
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
  ULONG AddRef() override {
    if (held_ == 0) owner_.AddRef();
    return ++held_;
  }
  ULONG Release() override {
    const ULONG left = --held_;
    if (left == 0) owner_.Release();  // may be the end of this, too
    return left;
  }

 private:
  IUnknown& owner_;
  ULONG held_ = 0;
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
