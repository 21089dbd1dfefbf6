#pragma once

// A base for objects that are members of another object and share its life, such as the fields of a
// recordset.

#include "qxdesk/session/host_object_base.h"

namespace qx::desk {

/// Base of an object that is a member of another one and lives as long as that: while it is held,
/// it holds its owner once. The count is a plain one, since a part belongs to the thread that works
/// with its owner, and rows are read through a part for each cell.
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
    if (left == 0) owner_.Release();  // may destroy the owner and with it this part
    return left;
  }

 private:
  IUnknown& owner_;
  ULONG held_ = 0;
};

}  // namespace qx::desk
