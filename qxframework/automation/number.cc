#include "qxframework/automation/number.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qx {
namespace {

constexpr std::uint64_t kMoneyUnit = 10000;
constexpr double kTwoTo64 = 18446744073709551616.0;

// Negated as unsigned, because the lowest number has no positive counterpart.
std::uint64_t magnitudeOf(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return value < 0 ? 0 - bits : bits;
}

// Returns value / by, rounded to the nearest integer and halves to even.
std::uint64_t dividedToEven(std::uint64_t value, std::uint64_t by) {
  const std::uint64_t whole = value / by;
  const std::uint64_t rest = value % by;
  return whole + (rest * 2 > by || (rest * 2 == by && whole % 2 == 1) ? 1 : 0);
}

// Returns the number rounded to an integer; nothing if its magnitude exceeds 64 bits.
std::optional<Number> rounded(const Number& number) {
  Number whole = number;
  whole.kind = Number::Kind::Integer;
  if (number.kind == Number::Kind::Money)
    whole.magnitude = dividedToEven(number.magnitude, kMoneyUnit);
  if (number.kind == Number::Kind::Real) {
    // nearbyint rounds halves to even in the default mode. The test is negated to refuse NaN too.
    const double nearest = std::nearbyint(std::fabs(number.real));
    if (!(nearest < kTwoTo64)) return std::nullopt;
    whole.magnitude = static_cast<std::uint64_t>(nearest);
  }
  // -0.4 becomes 0, which fits into an unsigned kind; "-0" must not be refused there.
  if (whole.magnitude == 0) whole.negative = false;
  return whole;
}

std::optional<std::int64_t> withSign(std::uint64_t magnitude, bool negative) {
  // The lowest number has a magnitude that no positive number has.
  constexpr std::uint64_t kLimit = std::uint64_t{1} << 63;
  if (magnitude > kLimit || (magnitude == kLimit && !negative)) return std::nullopt;
  return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

// The parts of a number's text.
struct Spelling {
  std::string plain;   // digits, a point and an exponent, in the form of the C locale
  std::string digits;  // all digits, the last `decimals` of which follow the point
  std::size_t decimals = 0;
  bool negative = false;
  bool exponent = false;
};

// Some locales group by a no-break space or a narrow one. They look like the blank that a user
// types, so all three are accepted there.
bool isGroup(char16_t unit, char16_t group) {
  const auto blank = [](char16_t each) { return each == u' ' || each == 0xA0 || each == 0x202F; };
  return unit == group || (blank(unit) && blank(group));
}

// Takes the text of a number apart.
class Speller {
 public:
  Speller(std::u16string_view text, const NumberSigns& signs) : rest_(text), signs_(signs) {}

  std::optional<Spelling> read() {
    // The parts around the digits come in any order: "-$ 5", "$-5" and "($5)" are all usual.
    while (takeBlank() || takeSign() || takeCurrency() || takeOpening()) continue;
    readDigits();
    readFraction();
    if (out_.digits.empty() || !readExponent()) return std::nullopt;
    while (takeBlank() || takeSign() || takeCurrency() || takeClosing()) continue;
    if (!rest_.empty() || isOpen_) return std::nullopt;
    return std::move(out_);
  }

 private:
  bool takeBlank() {
    if (rest_.empty() || !isInlineBlank(rest_.front())) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // Brackets and a sign exclude each other, and a sign is read on one side only.
  bool takeSign() {
    if (hasSign_ || rest_.empty() || (rest_.front() != u'-' && rest_.front() != u'+')) return false;
    out_.negative = rest_.front() == u'-';
    rest_.remove_prefix(1);
    return hasSign_ = true;
  }

  bool takeOpening() {
    if (hasSign_ || rest_.empty() || rest_.front() != u'(') return false;
    rest_.remove_prefix(1);
    return isOpen_ = hasSign_ = out_.negative = true;
  }

  bool takeClosing() {
    if (!isOpen_ || rest_.empty() || rest_.front() != u')') return false;
    rest_.remove_prefix(1);
    isOpen_ = false;
    return true;
  }

  bool takeCurrency() {
    const std::u16string_view sign = signs_.currency.data();
    if (hasCurrency_ || sign.empty() || !rest_.starts_with(sign)) return false;
    rest_.remove_prefix(sign.size());
    return hasCurrency_ = true;
  }

  bool takeDigit() {
    if (rest_.empty() || !isDigit(rest_.front())) return false;
    const auto digit = static_cast<char>(rest_.front());
    out_.plain += digit;
    out_.digits += digit;
    rest_.remove_prefix(1);
    return true;
  }

  // A group separator is accepted after any digit; users do not count the digits of a group.
  void readDigits() {
    while (takeDigit())
      if (!rest_.empty() && isGroup(rest_.front(), signs_.group)) rest_.remove_prefix(1);
  }

  void readFraction() {
    if (rest_.empty() || rest_.front() != signs_.decimal) return;
    rest_.remove_prefix(1);
    if (out_.plain.empty()) out_.plain += '0';  // for ".5"
    out_.plain += '.';
    while (takeDigit()) ++out_.decimals;
    if (out_.decimals == 0) out_.plain.pop_back();
  }

  bool readExponent() {
    if (rest_.empty() || (rest_.front() != u'e' && rest_.front() != u'E')) return true;
    rest_.remove_prefix(1);
    out_.exponent = true;
    out_.plain += 'e';
    if (!rest_.empty() && (rest_.front() == u'-' || rest_.front() == u'+')) {
      out_.plain += static_cast<char>(rest_.front());
      rest_.remove_prefix(1);
    }
    const std::size_t start = out_.plain.size();
    for (; !rest_.empty() && isDigit(rest_.front()); rest_.remove_prefix(1))
      out_.plain += static_cast<char>(rest_.front());
    return out_.plain.size() > start;  // "1e" is not a number
  }

  std::u16string_view rest_;
  const NumberSigns& signs_;
  Spelling out_;
  bool hasSign_ = false;
  bool hasCurrency_ = false;
  bool isOpen_ = false;  // a bracket is open
};

// The program's locale may have another decimal separator, so strtod would misread the point.
double realOf(const Spelling& spelling) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  const double value = strtod_l(spelling.plain.c_str(), nullptr, plain);
  return spelling.negative ? -value : value;
}

// Stores the digits as an exact number, an integer or one of ten-thousandths. Returns false if they
// are too many for that. A long integer and an amount of money would lose digits as a double.
bool readExact(const Spelling& spelling, Number& number) {
  if (spelling.exponent || spelling.decimals > 4) return false;
  std::string digits = spelling.digits;
  number.kind = Number::Kind::Integer;
  if (spelling.decimals > 0) {
    number.kind = Number::Kind::Money;
    digits.append(4 - spelling.decimals, '0');  // 1.5 is 15000 ten-thousandths
  }
  const char* end = digits.data() + digits.size();
  return std::from_chars(digits.data(), end, number.magnitude).ec == std::errc();
}

std::u16string_view withoutInlineBlanks(std::u16string_view text) {
  while (!text.empty() && isInlineBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isInlineBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Returns the bits of one digit if "&H" or "&O" introduces the text; 0 for any other text.
int bitsOfDigit(std::u16string_view text) {
  if (text.size() < 2 || text[0] != u'&') return 0;
  const char16_t letter = toUpperAscii(text[1]);
  return letter == u'H' ? 4 : letter == u'O' ? 3 : 0;
}

// Reads the digits behind "&H" or "&O". More than 64 bits fit no kind, as an infinite number does.
std::optional<Number> numberFromBits(std::u16string_view digits, int bitsOfEach) {
  std::uint64_t bits = 0;
  bool fits = true;
  if (digits.empty()) return std::nullopt;
  for (const char16_t digit : digits) {
    const int value = hexDigitValue(digit);
    if (value < 0 || value >> bitsOfEach != 0) return std::nullopt;
    fits = fits && bits >> (64 - bitsOfEach) == 0;
    bits = bits << bitsOfEach | static_cast<std::uint64_t>(value);
  }
  if (!fits) return numberFromReal(std::numeric_limits<double>::infinity());
  Number number = numberFromSigned(static_cast<std::int64_t>(bits));
  number.isBits = true;
  return number;
}

int signOf(const Number& number) {
  const bool zero = number.kind == Number::Kind::Real ? number.real == 0 : number.magnitude == 0;
  return zero ? 0 : number.negative ? -1 : 1;
}

template <class T>
int order(T a, T b) {
  return a < b ? -1 : a > b ? 1 : 0;
}

// Compares the magnitudes of two numbers that are not real. An integer is compared with the whole
// part of an amount, because it might overflow when multiplied.
int compareExact(const Number& a, const Number& b) {
  if (a.kind == b.kind) return order(a.magnitude, b.magnitude);
  const bool moneyLeft = a.kind == Number::Kind::Money;
  const Number& money = moneyLeft ? a : b;
  const Number& integer = moneyLeft ? b : a;
  int result = order(money.magnitude / kMoneyUnit, integer.magnitude);
  if (result == 0 && money.magnitude % kMoneyUnit != 0) result = 1;
  return moneyLeft ? result : -result;
}

// A long double has at least 64 bits of mantissa here, so it holds every 64-bit integer and double.
long double comparable(const Number& number) {
  // Money compares with a real as its nearest double, so that 0.1 equals 1000 ten-thousandths.
  if (number.kind != Number::Kind::Integer) return number.real;
  const auto magnitude = static_cast<long double>(number.magnitude);
  return number.negative ? -magnitude : magnitude;
}

}  // namespace

std::size_t sizeOfKind(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return 8;
    default:
      return 0;
  }
}

bool isKnownKind(VARTYPE type) {
  return type == VT_EMPTY || type == VT_NULL ||
         sizeOfKind(static_cast<VARTYPE>(type & ~VT_BYREF)) != 0;
}

std::optional<VARIANT> dereferenced(const VARIANT& value) {
  if ((value.vt & VT_BYREF) == 0) return value;
  VARIANT target;
  target.vt = static_cast<VARTYPE>(value.vt & ~VT_BYREF);
  const std::size_t size = sizeOfKind(target.vt);
  if (size == 0 || value.byref == nullptr) return std::nullopt;
  // Exactly the size of the kind: the variable that is referred to has no more bytes.
  std::memcpy(&target.llVal, value.byref, size);
  return target;
}

Number numberFromSigned(std::int64_t value) {
  return {Number::Kind::Integer, value < 0, magnitudeOf(value), static_cast<double>(value)};
}

Number numberFromUnsigned(std::uint64_t value) {
  return {Number::Kind::Integer, false, value, static_cast<double>(value)};
}

Number numberFromMoney(CY amount) {
  return {Number::Kind::Money, amount.int64 < 0, magnitudeOf(amount.int64),
          static_cast<double>(static_cast<long double>(amount.int64) / kMoneyUnit)};
}

Number numberFromReal(double value) { return {Number::Kind::Real, std::signbit(value), 0, value}; }

std::optional<Number> numberOf(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      return Number();
    case VT_I1:
      return numberFromSigned(value.cVal);
    case VT_I2:
      return numberFromSigned(value.iVal);
    case VT_BOOL:
      return numberFromSigned(value.boolVal);
    case VT_I4:
    case VT_INT:
      return numberFromSigned(value.lVal);
    case VT_I8:
      return numberFromSigned(value.llVal);
    case VT_UI1:
      return numberFromUnsigned(value.bVal);
    case VT_UI2:
      return numberFromUnsigned(value.uiVal);
    case VT_UI4:
    case VT_UINT:
      return numberFromUnsigned(value.ulVal);
    case VT_UI8:
      return numberFromUnsigned(value.ullVal);
    case VT_CY:
      return numberFromMoney(value.cyVal);
    case VT_R4:
      return numberFromReal(static_cast<double>(value.fltVal));
    case VT_R8:
    case VT_DATE:
      return numberFromReal(value.dblVal);
    default:
      return std::nullopt;
  }
}

std::optional<Number> numberFromText(std::u16string_view text, const NumberSigns& signs) {
  const std::u16string_view inner = withoutInlineBlanks(text);
  if (const int bits = bitsOfDigit(inner); bits != 0) return numberFromBits(inner.substr(2), bits);
  const auto spelling = Speller(text, signs).read();
  if (!spelling) return std::nullopt;
  Number number;
  number.real = realOf(*spelling);
  number.negative = spelling->negative;
  // With an exponent, more than four decimals or too many digits, only the double is left.
  if (!readExact(*spelling, number)) number = numberFromReal(number.real);
  return number;
}

std::uint64_t bitsOf(const Number& number) {
  return number.negative ? 0 - number.magnitude : number.magnitude;
}

std::optional<std::int64_t> toInteger(const Number& number, std::int64_t low, std::int64_t high) {
  const auto whole = rounded(number);
  const auto value = whole ? withSign(whole->magnitude, whole->negative) : std::nullopt;
  return value && *value >= low && *value <= high ? value : std::nullopt;
}

std::optional<std::uint64_t> toUnsigned(const Number& number, std::uint64_t high) {
  const auto whole = rounded(number);
  if (!whole || whole->negative || whole->magnitude > high) return std::nullopt;
  return whole->magnitude;
}

std::optional<CY> toMoney(const Number& number) {
  std::uint64_t units = number.magnitude;
  if (number.kind == Number::Kind::Integer) {
    if (units > std::numeric_limits<std::uint64_t>::max() / kMoneyUnit) return std::nullopt;
    units *= kMoneyUnit;
  } else if (number.kind == Number::Kind::Real) {
    // Computed in double: an amount beyond 2^53 ten-thousandths loses its last digits here.
    const double scaled = std::nearbyint(std::fabs(number.real) * kMoneyUnit);
    if (!(scaled < kTwoTo64)) return std::nullopt;
    units = static_cast<std::uint64_t>(scaled);
  }
  const auto value = withSign(units, number.negative);
  return value ? std::optional(CY{*value}) : std::nullopt;
}

int compareNumbers(const Number& a, const Number& b) {
  const bool isNanA = std::isnan(a.real);
  const bool isNanB = std::isnan(b.real);
  if (isNanA || isNanB) return order(!isNanA, !isNanB);
  if (a.kind == Number::Kind::Real || b.kind == Number::Kind::Real)
    return order(comparable(a), comparable(b));
  const int signA = signOf(a);
  const int signB = signOf(b);
  if (signA != signB) return order(signA, signB);
  return signA * compareExact(a, b);
}

std::u16string textFromReal(double value, int digits, const NumberSigns& signs) {
  char narrow[40];
  const double shown = value == 0 ? 0.0 : value;  // without the sign of -0.0
  const auto written =
      std::to_chars(narrow, narrow + sizeof narrow, shown, std::chars_format::general, digits);
  std::u16string text;
  for (const char* unit = narrow; unit != written.ptr; ++unit)
    text += *unit == '.' ? signs.decimal : *unit == 'e' ? u'E' : static_cast<char16_t>(*unit);
  return text;
}

std::u16string textFromMoney(CY amount, const NumberSigns& signs) {
  const std::uint64_t magnitude = magnitudeOf(amount.int64);
  // 10000 is added and its 1 cut off again, which keeps the leading zeros of the fraction.
  std::string fraction = std::to_string(magnitude % kMoneyUnit + kMoneyUnit).substr(1);
  fraction.resize(fraction.find_last_not_of('0') + 1);
  std::string narrow = (amount.int64 < 0 ? "-" : "") + std::to_string(magnitude / kMoneyUnit);
  if (!fraction.empty()) narrow += '.' + fraction;
  std::u16string text(narrow.begin(), narrow.end());
  std::replace(text.begin(), text.end(), u'.', signs.decimal);
  return text;
}

}  // namespace qx
