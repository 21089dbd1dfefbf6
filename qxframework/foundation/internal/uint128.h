#pragma once

// The 128-bit intermediate of products and quotients of money. Its interface shows four 32-bit
// limbs; it is stored as the compiler's 128-bit integer, so it costs no more than that.

#include "qxframework/foundation/thrown_text.h"

#include <compare>
#include <cstddef>
#include <cstdint>

namespace qx {

/// An unsigned 128-bit number that remembers whether it ever overflowed.
class CUInt128 {
 public:
  explicit constexpr CUInt128(std::uint64_t value) { put(value); }
  /// Extends the sign: -1 has all bits set.
  explicit constexpr CUInt128(int value) { put(static_cast<Wide>(value)); }

  /// Returns 32 bits; `index` 0 is the least significant limb, 3 the most significant.
  constexpr std::uint32_t limb(std::size_t index) const {
    return static_cast<std::uint32_t>(m_limbs >> (32 * index));
  }
  constexpr std::uint64_t lower() const { return static_cast<std::uint64_t>(m_limbs); }
  constexpr std::uint64_t upper() const { return static_cast<std::uint64_t>(m_limbs >> 64); }
  /// False once an addition or a multiplication has carried out of the 128 bits, in this number or
  /// in one that was added to it. The limbs then hold the lower 128 bits.
  constexpr bool isExact() const { return m_exact; }

  constexpr CUInt128& operator+=(const CUInt128& other) {
    const Wide sum = m_limbs + other.m_limbs;
    m_exact = m_exact && other.m_exact && sum >= other.m_limbs;
    return put(sum);
  }
  constexpr CUInt128& operator*=(std::uint64_t factor) {
    const Wide low = Wide{lower()} * factor;
    const Wide high = Wide{upper()} * factor + (low >> 64);
    m_exact = m_exact && (high >> 64) == 0;
    return put((high << 64) | static_cast<std::uint64_t>(low));
  }
  /// Shifts by 0 to 127 bits. Bits that are shifted out are lost, without an overflow.
  constexpr CUInt128& operator<<=(int bits) { return put(m_limbs << bits); }

  /// Returns the quotient, cut to a whole number, and stores the remainder unless `remainder` is
  /// null. Throws the text "divide 0" by throwText if the divisor is 0.
  constexpr CUInt128 dividedBy(std::uint64_t divisor, std::uint64_t* remainder = nullptr) const {
    if (divisor == 0) throwText("divide 0");
    CUInt128 quotient(*this);
    std::uint64_t rest = 0;
    if (upper() == 0) {
      quotient.put(lower() / divisor);
      rest = lower() % divisor;
    } else if (divisor >> kSmallBits == 0 && upper() < divisor) {
      // Two divisions of 64 bits: for a constant divisor such as a million the compiler makes them
      // multiplications. The upper half is below 2^20 here, so no shift loses bits.
      constexpr int kStep = 64 - kSmallBits;
      const std::uint64_t first = upper() << kSmallBits | lower() >> kStep;
      const std::uint64_t second = first % divisor << kStep | (lower() & ((1ULL << kStep) - 1));
      quotient.put(Wide{first / divisor} << kStep | second / divisor);
      rest = second % divisor;
    } else if (divisor != 1) {
      // For a divisor of 1 the initial values are the result.
      const Wide whole = m_limbs / divisor;
      quotient.put(whole);
      rest = static_cast<std::uint64_t>(m_limbs - whole * divisor);
    }
    if (remainder != nullptr) *remainder = rest;
    return quotient;
  }

  /// Compares the limbs; isExact does not count.
  friend constexpr bool operator==(const CUInt128& a, const CUInt128& b) {
    return a.m_limbs == b.m_limbs;
  }
  friend constexpr std::strong_ordering operator<=>(const CUInt128& a, const CUInt128& b) {
    return a.m_limbs <=> b.m_limbs;
  }

 private:
  __extension__ typedef unsigned __int128 Wide;
  static constexpr int kSmallBits = 20;  // a million has 20

  constexpr CUInt128& put(Wide value) {
    m_limbs = value;
    return *this;
  }

  Wide m_limbs{};
  bool m_exact = true;
};

}  // namespace qx
