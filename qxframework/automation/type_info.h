#pragma once

// What an automation object tells of its library: the road from an object to its library's version.

#include "qxframework/automation/types.h"

struct TLIBATTR {
  GUID guid;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
};

class ITypeLib : public IUnknown {
 public:
  static constexpr GUID kIid{0x00020402, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  /// The block belongs to the library until ReleaseTLibAttr.
  virtual HRESULT GetLibAttr(TLIBATTR** attributes) = 0;
  virtual void ReleaseTLibAttr(TLIBATTR* attributes) = 0;

 protected:
  ~ITypeLib() = default;
};

class ITypeInfo : public IUnknown {
 public:
  static constexpr GUID kIid{0x00020401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  virtual HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) = 0;

 protected:
  ~ITypeInfo() = default;
};
