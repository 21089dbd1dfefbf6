#include "qxdesk/company/type_library.h"

#include "qxdesk/session/call_gate.h"
#include "qxframework/host/ids.h"

namespace qx::desk {

namespace {

class TypeLibrary final : public ComObject<ITypeLib> {
 public:
  HRESULT GetLibAttr(TLIBATTR** attributes) override {
    return hostCall([&]() -> HRESULT {
      if (attributes == nullptr) return E_POINTER;
      *attributes = &attributes_;
      return S_OK;
    });
  }
  // The block lives as long as the library.
  void ReleaseTLibAttr(TLIBATTR*) override {}

 private:
  TLIBATTR attributes_{hostId(0x0304), kCompanyMajorVersion, kCompanyMinorVersion};
};

class TypeInfo final : public ComObject<ITypeInfo> {
 public:
  HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) override {
    return hostCall([&]() -> HRESULT {
      if (library == nullptr) return E_POINTER;
      *library = makeObject<TypeLibrary>().Detach();
      if (index != nullptr) *index = 0;
      return S_OK;
    });
  }
};

}  // namespace

CComPtr<ITypeInfo> companyTypeInfo() { return CComPtr<ITypeInfo>(makeObject<TypeInfo>().p); }

}  // namespace qx::desk
