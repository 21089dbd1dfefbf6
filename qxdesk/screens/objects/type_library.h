#pragma once

#include "qxdesk/session/type_library.h"
#include "qxframework/host/ids.h"

namespace qx::screens {

/// The client's library.
inline constexpr GUID kScreensLibrary = hostId(0x0005);

/// Base, with GetTypeInfo answered.
template <class Base>
class WithTypeInfo : public Base {
 public:
  using Base::Base;
  HRESULT GetTypeInfoCount(UINT* count) override {
    return this->give(count, [] { return 1; });
  }
  HRESULT GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    return this->giveNew(info, [&] {
      if (index != 0) raiseError(DISP_E_BADINDEX);
      return desk::makeTypeInfo(kScreensLibrary);
    });
  }
};

}  // namespace qx::screens
