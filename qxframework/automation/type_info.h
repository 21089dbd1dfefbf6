#pragma once

// Type information of automation objects, as far as it leads from an object to the version of its
// library.

#include "qxframework/automation/types.h"

/// The identity and version of a library.
struct TLIBATTR {
  GUID guid;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
};

/// A library of classes.
class ITypeLib : public IUnknown {
 public:
  static constexpr GUID kIid{0x00020402, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  /// Stores the library's attributes. The caller returns the block with ReleaseTLibAttr.
  virtual HRESULT GetLibAttr(TLIBATTR** attributes) = 0;
  virtual void ReleaseTLibAttr(TLIBATTR* attributes) = 0;

 protected:
  ~ITypeLib() = default;
};

/// The description of one class.
class ITypeInfo : public IUnknown {
 public:
  static constexpr GUID kIid{0x00020401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  /// Stores the library that contains the class and the index of the class in it.
  virtual HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) = 0;

 protected:
  ~ITypeInfo() = default;
};
