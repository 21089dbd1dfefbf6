#pragma once

// What the activation tests and their component library share.

#include "qxframework/automation/types.h"

namespace qx::test {

inline constexpr CLSID kGreeterClass{0xB0000001, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
/// Registered for the library, which does not know it.
inline constexpr CLSID kRefusedClass{0xB0000002, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};

class IGreeter : public IUnknown {
 public:
  static constexpr GUID kIid{0xB0000003, 0, 0, {}};
  virtual HRESULT Greet(BSTR* out) = 0;

 protected:
  ~IGreeter() = default;
};

}  // namespace qx::test
