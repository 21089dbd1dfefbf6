#pragma once

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/type_info.h"

namespace qx::screens {

/// The way from an object of the client to the version of its library, 9.20.
CComPtr<ITypeInfo> makeTypeInfo();

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
      return makeTypeInfo();
    });
  }
};

}  // namespace qx::screens
