#pragma once

// The class ids and the interface that the activation tests share with their component library.

#include "qxframework/automation/types.h"

namespace qx::test {

inline constexpr CLSID kGreeterClass{0xB0000001, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
/// A class that is registered for the library but that the library does not implement.
inline constexpr CLSID kRefusedClass{0xB0000002, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};

/// The interface of the library's only class.
class IGreeter : public IUnknown {
 public:
  static constexpr GUID kIid{0xB0000003, 0, 0, {}};
  virtual HRESULT Greet(BSTR* out) = 0;

 protected:
  ~IGreeter() = default;
};

}  // namespace qx::test
