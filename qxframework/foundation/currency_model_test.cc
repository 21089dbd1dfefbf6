// Compares money with a model that calculates as one does on paper: numbers are rows of decimal
// digits, and every operation is the one from school. The operations are random, from a fixed seed,
// and many lie near the ends of the range, so that overflows and wraps are compared too. Twenty
// thousand of each kind are a normal run; QX_TEST_CASES_FACTOR=50 makes it a million.

#include "qxframework/foundation/currency.h"
#include "testing/amounts.h"
#include "testing/cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace {

using qx::test::DefaultDecimal;
using qx::test::fromMillionths;
using qx::test::textOf;

std::size_t operations() { return qx::test::cases(20'000); }

/// A decimal number without a sign, with the lowest digit first.
class Paper {
 public:
  static constexpr std::size_t kDigits = 40;

  Paper() = default;
  explicit Paper(std::string_view digits) : length_(digits.size()) {
    for (std::size_t i = 0; i < length_; ++i) put(i, digits[length_ - 1 - i] - '0');
    trim();
  }
  static Paper of(std::uint64_t number) { return Paper(std::to_string(number)); }

  std::string text() const {
    std::string digits(std::max<std::size_t>(length_, 1), '0');
    for (std::size_t i = 0; i < length_; ++i)
      digits[length_ - 1 - i] = static_cast<char>('0' + digit_[i]);
    return digits;
  }
  bool isZero() const { return length_ == 0; }
  bool isOdd() const { return digit_[0] % 2 != 0; }

  Paper operator+(const Paper& other) const {
    Paper sum;
    int carry = 0;
    const std::size_t length = std::max(length_, other.length_);
    for (std::size_t i = 0; i < length; ++i) {
      const int total = digit_[i] + other.digit_[i] + carry;
      carry = total > 9 ? 1 : 0;
      sum.put(i, total - 10 * carry);
    }
    sum.length_ = length;
    if (carry != 0) sum.put(sum.length_++, carry);
    return sum;
  }
  /// Returns the difference; `other` must not be greater than this number.
  Paper operator-(const Paper& other) const {
    Paper difference;
    int borrow = 0;
    for (std::size_t i = 0; i < length_; ++i) {
      const int left = digit_[i] - other.digit_[i] - borrow;
      borrow = left < 0 ? 1 : 0;
      difference.put(i, left + 10 * borrow);
    }
    difference.length_ = length_;
    return difference.trim();
  }
  Paper operator*(const Paper& other) const {
    std::array<int, 2 * kDigits> sums{};
    for (std::size_t i = 0; i < length_; ++i)
      for (std::size_t j = 0; j < other.length_; ++j) sums[i + j] += digit_[i] * other.digit_[j];
    Paper product;
    int carry = 0;
    product.length_ = length_ + other.length_;
    for (std::size_t i = 0; i < product.length_; ++i) {
      const int total = sums[i] + carry;
      product.put(i, total % 10);
      carry = total / 10;
    }
    return product.trim();
  }
  /// Returns the quotient by long division, without the remainder.
  Paper operator/(const Paper& divisor) const {
    Paper quotient;
    Paper rest;
    quotient.length_ = length_;
    for (std::size_t i = length_; i-- > 0;) {
      rest = rest.timesTen(1);
      rest.put(0, digit_[i]);
      rest.length_ = std::max<std::size_t>(rest.length_, 1);
      rest.trim();
      int times = 0;
      for (; rest >= divisor; ++times) rest = rest - divisor;
      quotient.put(i, times);
    }
    return quotient.trim();
  }
  /// Returns the number with `places` zeros appended.
  Paper timesTen(std::size_t places) const {
    Paper moved;
    if (isZero()) return moved;
    std::copy_n(digit_.begin(), length_, moved.digit_.begin() + places);
    moved.length_ = length_ + places;
    return moved;
  }
  /// Returns the number without its last `places` digits.
  Paper withoutDigits(std::size_t places) const {
    Paper moved;
    if (length_ <= places) return moved;
    moved.length_ = length_ - places;
    std::copy_n(digit_.begin() + places, moved.length_, moved.digit_.begin());
    return moved;
  }
  Paper half() const {
    Paper quotient;
    int rest = 0;
    for (std::size_t i = length_; i-- > 0;) {
      const int number = rest * 10 + digit_[i];
      quotient.put(i, number / 2);
      rest = number % 2;
    }
    quotient.length_ = length_;
    return quotient.trim();
  }

  friend bool operator==(const Paper& a, const Paper& b) = default;
  friend bool operator>=(const Paper& a, const Paper& b) {
    if (a.length_ != b.length_) return a.length_ > b.length_;
    for (std::size_t i = a.length_; i-- > 0;)
      if (a.digit_[i] != b.digit_[i]) return a.digit_[i] > b.digit_[i];
    return true;
  }

 private:
  void put(std::size_t place, int digit) { digit_.at(place) = static_cast<signed char>(digit); }
  Paper& trim() {
    while (length_ > 0 && digit_[length_ - 1] == 0) --length_;
    return *this;
  }

  std::size_t length_ = 0;  // without leading zeros
  std::array<signed char, kDigits> digit_{};
};

const Paper kTwo63("9223372036854775808");
const Paper kTwo64("18446744073709551616");
const Paper kMillion("1000000");

struct Signed {
  bool negative = false;
  Paper magnitude;
};

Signed of(std::int64_t value) {
  const std::string text = std::to_string(value);
  const bool negative = text.front() == '-';
  return {negative, Paper(std::string_view(text).substr(negative ? 1 : 0))};
}

Signed minus(Signed number) {
  return {!number.negative && !number.magnitude.isZero(), number.magnitude};
}

Signed plus(const Signed& a, const Signed& b) {
  if (a.negative == b.negative) return {a.negative, a.magnitude + b.magnitude};
  if (a.magnitude >= b.magnitude) return {a.negative, a.magnitude - b.magnitude};
  return {b.negative, b.magnitude - a.magnitude};
}

/// Returns the number as a signed 64-bit number would hold it. Subtracts 2^64 until it fits, so the
/// number must not be much larger than that.
std::string wrapped(Signed number) {
  while (number.magnitude >= kTwo63) {
    if (number.negative && number.magnitude == kTwo63) break;
    number = plus(number, {!number.negative, kTwo64});
  }
  const std::string digits = number.magnitude.text();
  return number.negative && digits != "0" ? "-" + digits : digits;
}

Signed wrappedNumber(const Signed& number) {
  const std::string text = wrapped(number);
  const bool negative = text.front() == '-';
  return {negative, Paper(std::string_view(text).substr(negative ? 1 : 0))};
}

/// Rounds to the nearest double: to 53 bits, and to the even one of two that are equally near.
Paper asDouble(const Paper& number) {
  static const Paper kTwo53("9007199254740992");
  if (!(number >= kTwo53)) return number;
  Paper mantissa = number;
  Paper step("1");
  while (mantissa >= kTwo53) {
    mantissa = mantissa.half();
    step = step + step;
  }
  const Paper below = mantissa * step;
  const Paper rest = number - below;
  const Paper twice = rest + rest;
  const bool up = twice >= step && (!(twice == step) || mantissa.isOdd());
  return up && !rest.isZero() ? below + step : below;
}

const std::string kThrown = "thrown";

struct Addend {
  Signed exact;
  Signed rounded;
};

Addend addendOf(std::int64_t value) {
  const Signed exact = of(value);
  return {exact, {exact.negative, asDouble(exact.magnitude)}};
}

Addend minus(const Addend& number) { return {minus(number.exact), minus(number.rounded)}; }

std::string modelSum(const Addend& a, const Addend& b) {
  if (asDouble(plus(a.rounded, b.rounded).magnitude) >= kTwo63) return kThrown;
  return wrapped(plus(a.exact, b.exact));
}

std::string fromMagnitude(const Paper& magnitude, bool negative) {
  return magnitude >= kTwo64 ? kThrown : wrapped({negative, magnitude});
}

std::string modelProduct(const Signed& a, const Signed& b) {
  return fromMagnitude((a.magnitude * b.magnitude).withoutDigits(6), a.negative != b.negative);
}

std::string modelMultiple(const Signed& a, const Signed& factor) {
  return fromMagnitude(a.magnitude * factor.magnitude, a.negative != factor.negative);
}

std::string modelQuotient(const Signed& a, const Signed& b) {
  // Half up at the seventh decimal is half up of the whole, so one division serves.
  const Paper sevenDecimals = a.magnitude.timesTen(7) / b.magnitude;
  return fromMagnitude((sevenDecimals + Paper("5")).withoutDigits(1), a.negative != b.negative);
}

std::string modelRound(const Signed& amount, int digits) {
  if (digits >= 6) return wrapped(amount);
  Paper half("500000");
  for (int i = 0; i < digits; ++i) half = half.withoutDigits(1);
  const Signed magnitude = wrappedNumber({false, amount.magnitude});
  Signed rounded = wrappedNumber(plus(magnitude, {false, half}));
  const auto cut = static_cast<std::size_t>(6 - digits);
  rounded.magnitude = rounded.magnitude.withoutDigits(cut).timesTen(cut);
  return wrapped(amount.negative ? minus(rounded) : rounded);
}

std::string modelText(const Signed& amount) {
  const std::string digits = amount.magnitude.text();
  const std::string padded = std::string(digits.size() < 7 ? 7 - digits.size() : 0, '0') + digits;
  return (amount.negative ? "-" : "") + padded.substr(0, padded.size() - 6) + "." +
         padded.substr(padded.size() - 6);
}

/// Reads blanks, a sign and digits; stops at the ends of 64 bits.
Signed modelNumber(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const Paper number(text.substr(0, text.find_first_not_of("0123456789")));
  const Paper limit = negative ? kTwo63 : kTwo63 - Paper("1");
  return {negative && !number.isZero(), number >= limit ? limit : number};
}

std::string modelFromText(const std::string& text) {
  const std::size_t point = text.find('.');
  const std::string fraction = point == std::string::npos ? "0" : text.substr(point + 1);
  const Signed integer = modelNumber(std::string_view(text).substr(0, point));
  Signed millionths = modelNumber(fraction);
  const std::size_t length = fraction.size();
  millionths.magnitude = length < 6 ? millionths.magnitude.timesTen(6 - length)
                                    : millionths.magnitude.withoutDigits(length - 6);
  const Paper whole = integer.magnitude * kMillion;
  if (whole >= kTwo64) return kThrown + " " + wrapped(integer);
  return wrapped(
      plus({integer.negative, whole}, integer.negative ? minus(millionths) : millionths));
}

std::string modelFromDouble(double amount) {
  const double millionths = amount * 1e6;
  if (std::fabs(millionths) < 1.0) return "0";
  const double moved = millionths < 0 ? millionths - 0.5 : millionths + 0.5;
  int exponent = 0;
  const double mantissa = std::frexp(std::fabs(moved), &exponent);
  if (!std::isfinite(moved) || exponent > 64) return "-" + kTwo63.text();
  Paper magnitude = Paper::of(static_cast<std::uint64_t>(std::ldexp(mantissa, 53)));
  for (int i = 53; i < exponent; ++i) magnitude = magnitude + magnitude;
  for (int i = exponent; i < 53; ++i) magnitude = magnitude.half();
  if (magnitude >= kTwo63) return "-" + kTwo63.text();
  return wrapped({moved < 0, magnitude});
}

std::string rawOf(const CQXCurrency& amount) {
  return std::to_string(qx::test::millionthsOf(amount));
}

template <class Operation>
std::string outcome(Operation&& operation) {
  try {
    return rawOf(operation());
  } catch (const _com_error& error) {
    return error.Error() == -1 ? kThrown : "another error";
  }
}

/// Counts overflows, so that a test notices when its random numbers no longer cause any.
class Overflows {
 public:
  void count(bool overflow) {
    ++operations_;
    if (overflow) ++overflows_;
  }
  /// Expects at least one overflow in `operations` operations, but not only overflows. A run with
  /// few cases proves nothing and is not judged.
  void expectOneIn(std::int64_t operations) const {
    if (operations_ < 1000) return;
    EXPECT_GT(overflows_ * operations, operations_);
    EXPECT_LT(overflows_, operations_);
  }

 private:
  std::int64_t operations_ = 0;
  std::int64_t overflows_ = 0;
};

class CurrencyModel : public ::testing::Test {
 protected:
  std::uint64_t below(std::uint64_t end) { return random_() % end; }

  /// Returns a number of any length, or one near an end of the range, near 0 or near a power of
  /// two.
  std::int64_t number() {
    const std::uint64_t near = below(2000);
    switch (below(8)) {
      case 0:
        return std::bit_cast<std::int64_t>((std::uint64_t{1} << 63) + near - 1000);
      case 1:
        return static_cast<std::int64_t>(below(21)) - 10;
      case 2:
        return std::bit_cast<std::int64_t>((std::uint64_t{1} << below(64)) + near - 1000);
      case 3:
        return static_cast<std::int64_t>(below(2'000'001)) * 5'000 - 5'000'000'000;
      default:
        return std::bit_cast<std::int64_t>(random_()) >> below(63);
    }
  }
  /// Returns any number, or one whose sum with `first` comes close to an end of the range.
  std::int64_t partnerOf(std::int64_t first) {
    if (below(2) == 0) return number();
    const std::uint64_t end = (std::uint64_t{1} << 63) + below(4096) - 2048;
    return std::bit_cast<std::int64_t>(end - std::bit_cast<std::uint64_t>(first));
  }
  std::string digits(std::size_t most) {
    std::string text(below(most + 1), '0');
    for (char& each : text) each = static_cast<char>('0' + below(10));
    return text;
  }
  std::string side() {
    static const std::array<const char*, 8> kHeads = {"", "", "", "-", "-", "+", " -", "  "};
    static const std::array<const char*, 8> kTails = {"", "", "", "", "", "", "x1", " 2"};
    return kHeads.at(below(8)) + digits(below(8) == 0 ? 22 : 14) + kTails.at(below(8));
  }

  std::mt19937_64 random_{20240131};
};

TEST_F(CurrencyModel, SumsAndDifferencesMatchTheModel) {
  Overflows overflows;
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t a = number();
    const std::int64_t b = partnerOf(a);
    const Addend left = addendOf(a);
    const Addend right = addendOf(b);
    const std::string sum = modelSum(left, right);
    ASSERT_EQ(outcome([&] { return fromMillionths(a) + fromMillionths(b); }), sum)
        << a << " + " << b;
    ASSERT_EQ(outcome([&] { return fromMillionths(a) - fromMillionths(b); }),
              modelSum(left, minus(right)))
        << a << " - " << b;
    overflows.count(sum == kThrown);
  }
  overflows.expectOneIn(20);
}

TEST_F(CurrencyModel, ProductsMatchTheModel) {
  Overflows overflows;
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t a = number();
    const std::int64_t b = number();
    const std::string product = modelProduct(of(a), of(b));
    ASSERT_EQ(outcome([&] { return fromMillionths(a) * fromMillionths(b); }), product)
        << a << " * " << b;
    overflows.count(product == kThrown);
  }
  overflows.expectOneIn(50);
}

TEST_F(CurrencyModel, MultiplesMatchTheModel) {
  Overflows overflows;
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t a = number();
    const long factor = number();
    const std::string product = modelMultiple(of(a), of(factor));
    ASSERT_EQ(outcome([&] { return fromMillionths(a) * factor; }), product) << a << " * " << factor;
    overflows.count(product == kThrown);
  }
  overflows.expectOneIn(50);
}

TEST_F(CurrencyModel, QuotientsMatchTheModel) {
  Overflows overflows;
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t a = number();
    std::int64_t b = number();
    if (b == 0) b = 3;
    const std::string quotient = modelQuotient(of(a), of(b));
    ASSERT_EQ(outcome([&] { return fromMillionths(a) / fromMillionths(b); }), quotient)
        << a << " / " << b;
    overflows.count(quotient == kThrown);
  }
  overflows.expectOneIn(50);
}

TEST_F(CurrencyModel, RoundedAmountsMatchTheModel) {
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t value = number();
    const int places = static_cast<int>(below(22)) - 14;
    const DefaultDecimal scope(places);
    const int asked = static_cast<int>(below(3));
    CQXCurrency rounded = fromMillionths(value);
    rounded.Round(asked);
    ASSERT_EQ(rawOf(rounded), modelRound(of(value), asked == 0 ? 0 : places))
        << value << " to " << asked << " of " << places;
  }
}

TEST_F(CurrencyModel, ReadTextsMatchTheModel) {
  Overflows overflows;
  for (std::size_t i = operations(); i > 0; --i) {
    std::string text = side();
    if (below(4) != 0) text += "." + side();
    CQXCurrency read;
    const std::string result = outcome([&] {
      read.FromString(CString(std::u16string(text.begin(), text.end())));
      return read;
    });
    const std::string expected = modelFromText(text);
    ASSERT_EQ(result == kThrown ? kThrown + " " + rawOf(read) : result, expected) << text;
    overflows.count(result == kThrown);
  }
  overflows.expectOneIn(100);
}

TEST_F(CurrencyModel, WrittenTextsMatchTheModel) {
  for (std::size_t i = operations(); i > 0; --i) {
    const std::int64_t value = number();
    ASSERT_EQ(textOf(fromMillionths(value)), modelText(of(value))) << value;
  }
}

TEST_F(CurrencyModel, ConvertedDoublesMatchTheModel) {
  for (std::size_t i = operations(); i > 0; --i) {
    double value = std::bit_cast<double>(random_());
    if (below(3) != 0)
      value = std::ldexp(static_cast<double>(number()), -static_cast<int>(below(24)));
    if (below(8) == 0) value = (9223372036854775808.0 - static_cast<double>(below(8192))) / 1e6;
    CQXCurrency taken(value);
    ASSERT_EQ(rawOf(taken), modelFromDouble(value)) << value;
    taken = -value;
    ASSERT_EQ(rawOf(taken), modelFromDouble(-value)) << -value;
  }
}

}  // namespace
