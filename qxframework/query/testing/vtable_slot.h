#pragma once

#include <bit>
#include <cstdint>

namespace qx::test {

/// Returns the slot of a virtual operation in its class's table, from 0; -1 if the operation is not
/// virtual.
///
/// Reads it from the pointer to the operation in the layout of the Itanium C++ ABI: a word with the
/// offset into the table and a word with the adjustment of `this`. One bit marks a virtual
/// operation: the lowest of the first word or, on ARM, the lowest of the second, whose other bits
/// are shifted by one.
template <class Operation>
long slotOf(Operation operation) {
  struct Layout {
    std::uintptr_t offset;
    std::uintptr_t adjustment;
  };
  const auto layout = std::bit_cast<Layout>(operation);
#if defined(__aarch64__) || defined(__arm__)
  const bool isVirtual = (layout.adjustment & 1) != 0;
  const std::uintptr_t offset = layout.offset;
#elif defined(__x86_64__)
  const bool isVirtual = (layout.offset & 1) != 0;
  const std::uintptr_t offset = layout.offset - 1;
#else
#error "how does this machine lay out a pointer to a virtual operation?"
#endif
  return isVirtual ? static_cast<long>(offset / sizeof(void*)) : -1;
}

}  // namespace qx::test
