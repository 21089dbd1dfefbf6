#pragma once

// The type information of a host's library: version 9.20, unless the test makes it unavailable.

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/type_info.h"

namespace qx::test {

struct FakeLibrary {
  /// Returns the type information of each of its objects. The library must outlive it.
  HRESULT giveTypeInfo(ITypeInfo** out);

  bool hasTypeInfo = true;
  bool hasTypeLib = true;
  int heldAttributes = 0;  ///< obtained and not yet released
};

class FakeTypeLib final : public ComObject<ITypeLib> {
 public:
  explicit FakeTypeLib(FakeLibrary& library) : library_(library) {}
  HRESULT GetLibAttr(TLIBATTR** out) override {
    ++library_.heldAttributes;
    *out = &attributes_;
    return S_OK;
  }
  void ReleaseTLibAttr(TLIBATTR*) override { --library_.heldAttributes; }

 private:
  FakeLibrary& library_;
  TLIBATTR attributes_{GUID{}, 9, 20};
};

class FakeTypeInfo final : public ComObject<ITypeInfo> {
 public:
  explicit FakeTypeInfo(FakeLibrary& library) : library_(library) {}
  HRESULT GetContainingTypeLib(ITypeLib** out, UINT* index) override {
    *index = 0;
    if (!library_.hasTypeLib) return E_NOINTERFACE;
    return giveObject<ITypeLib>(makeObject<FakeTypeLib>(library_).p, out);
  }

 private:
  FakeLibrary& library_;
};

inline HRESULT FakeLibrary::giveTypeInfo(ITypeInfo** out) {
  if (!hasTypeInfo) return E_FAIL;
  return giveObject<ITypeInfo>(makeObject<FakeTypeInfo>(*this).p, out);
}

}  // namespace qx::test
