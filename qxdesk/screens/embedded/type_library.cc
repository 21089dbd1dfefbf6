#include "qxdesk/screens/embedded/type_library.h"

#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/host/ids.h"

namespace qx::screens {
namespace {

TLIBATTR libraryAttributes = {hostId(0x0005), 9, 20};

class TypeLibrary final : public ComObject<ITypeLib> {
 public:
  HRESULT GetLibAttr(TLIBATTR** attributes) override {
    return desk::hostCall([&]() -> HRESULT {
      if (attributes == nullptr) return E_POINTER;
      *attributes = &libraryAttributes;
      return S_OK;
    });
  }
  void ReleaseTLibAttr(TLIBATTR*) override {}
};

class TypeInfo final : public ComObject<ITypeInfo> {
 public:
  HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) override {
    return desk::hostCall([&]() -> HRESULT {
      if (library == nullptr || index == nullptr) return E_POINTER;
      *index = 0;
      return giveObject<ITypeLib>(makeObject<TypeLibrary>(), library);
    });
  }
};

}  // namespace

CComPtr<ITypeInfo> makeTypeInfo() { return CComPtr<ITypeInfo>(makeObject<TypeInfo>().p); }

}  // namespace qx::screens
