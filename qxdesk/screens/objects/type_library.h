#pragma once

// The type information of the two objects whose version an add-on reads: the entry object and the
// application.

#include "qxdesk/session/type_library.h"
#include "qxframework/host/ids.h"

namespace qx::screens {

/// The id of the type library of the screens.
inline constexpr GUID kScreensLibrary = hostId(0x0005);

/// Adds GetTypeInfo to a HostObject; its result leads to the version of the host.
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
