#pragma once

// What a library of the host tells of itself: version 9.20, as far as it tells at all.

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/type_info.h"

namespace qx::test {

struct FakeLibrary {
  /// The type information of each of its objects; the library must outlive it.
  HRESULT giveTypeInfo(ITypeInfo** out);

  bool hasTypeInfo = true;
  bool hasTypeLib = true;
  int heldAttributes = 0;  ///< taken from the library and not given back yet
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
