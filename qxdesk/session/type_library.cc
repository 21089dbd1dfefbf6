#include "qxdesk/session/type_library.h"

#include "qxdesk/session/call_gate.h"

namespace qx::desk {
namespace {

class TypeLibrary final : public ComObject<ITypeLib> {
 public:
  explicit TypeLibrary(const GUID& id) : attributes_{id, 9, 20} {}

  HRESULT GetLibAttr(TLIBATTR** attributes) override {
    return hostCall([&]() -> HRESULT {
      if (attributes == nullptr) return E_POINTER;
      *attributes = &attributes_;
      return S_OK;
    });
  }
  // Nothing to free: the attributes are a member and live as long as this object.
  void ReleaseTLibAttr(TLIBATTR*) override {}

 private:
  TLIBATTR attributes_;
};

class TypeInfo final : public ComObject<ITypeInfo> {
 public:
  explicit TypeInfo(const GUID& id) : id_(id) {}

  HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) override {
    return hostCall([&]() -> HRESULT {
      if (library == nullptr) return E_POINTER;
      *library = makeObject<TypeLibrary>(id_).Detach();
      if (index != nullptr) *index = 0;
      return S_OK;
    });
  }

 private:
  GUID id_;
};

}  // namespace

CComPtr<ITypeInfo> makeTypeInfo(const GUID& id) {
  return CComPtr<ITypeInfo>(makeObject<TypeInfo>(id).p);
}

}  // namespace qx::desk
