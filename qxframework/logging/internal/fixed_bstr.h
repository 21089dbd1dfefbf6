#pragma once

// Constant texts in the form of a BSTR, for messages that are written too often to be composed.

#include "qxframework/automation/types.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace qx {

/// A BSTR of less than `Room` units that the compiler makes. The layout is that of
/// SysAllocStringLen: the length in bytes directly precedes the first unit.
template <std::size_t Room>
class FixedBstr {
 public:
  constexpr FixedBstr() = default;
  /// Joins `parts`. Parts that do not fit are no constant expression.
  constexpr FixedBstr(std::initializer_list<std::u16string_view> parts) {
    std::size_t length = 0;
    for (const std::u16string_view part : parts) {
      for (const OLECHAR unit : part) text_[length++] = unit;
    }
    text_[length] = 0;
    bytes_ = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
  }
  /// Returns the text as an argument of the type BSTR, which no callee changes.
  BSTR bstr() const { return const_cast<BSTR>(text_); }

 private:
  std::uint32_t bytes_ = 0;
  OLECHAR text_[Room] = {};
};

}  // namespace qx
