#include "qxframework/foundation/currency.h"

#include "qxframework/foundation/internal/first_field.h"
#include "qxframework/foundation/internal/uint128.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/host/company.h"

#include <array>
#include <bit>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>

int CQXCurrency::m_DefaultDecimal = 2;
bool CQXCurrency::m_RoundViaRX = false;
CComBSTR CQXCurrency::m_bstrLoc;
CComBSTR CQXCurrency::m_bstrCurr;
CComPtr<ICompany> CQXCurrency::m_ptrCompany;
CComQIPtr<ICompanyService> CQXCurrency::m_ptrCompService;
CComQIPtr<IDecimalData> CQXCurrency::m_ptrDecimalData;
CComQIPtr<IRoundedData> CQXCurrency::m_ptrRoundedData;

namespace {

constexpr std::uint64_t kUnit = 1'000'000;
constexpr int kDecimals = 6;
constexpr HRESULT kOverflow = -1;
constexpr double kEndOfRange = 9223372036854775808.0;  // 2^63
constexpr long kDigitsOf64Bits = 19;

// 64-bit arithmetic that wraps: overflow of a signed number is undefined, so it goes through
// unsigned ones.
std::int64_t wrapped(std::uint64_t value) { return static_cast<std::int64_t>(value); }
std::int64_t wrapAdd(std::int64_t a, std::int64_t b) {
  return wrapped(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
std::int64_t wrapSubtract(std::int64_t a, std::int64_t b) {
  return wrapped(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}
std::int64_t wrapMultiply(std::int64_t a, std::int64_t b) {
  return wrapped(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}
std::uint64_t magnitudeOf(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return value < 0 ? 0 - bits : bits;
}

// Tested in double on purpose, although this throws for some sums whose exact value would fit.
void checkSum(double sum) {
  if (std::fabs(sum) >= kEndOfRange) qx::raiseError(kOverflow);
}

// A magnitude of 2^63 to 2^64 is not tested, so it wraps to the other sign.
std::int64_t signedResult(const qx::CUInt128& magnitude, bool negative) {
  if (magnitude.upper() != 0) qx::raiseError(kOverflow);
  return wrapped(negative ? 0 - magnitude.lower() : magnitude.lower());
}

// Faults as an integer division by zero does. In C++ that division is undefined, in the processor's
// own language it is not. So the fault lies in the operator that divides, where a crash handler
// looks for it, and it ends the process even where SIGFPE is ignored or blocked. ARM returns 0
// instead of faulting: there, and if a handler steps over the instruction, the signal is sent.
[[noreturn, gnu::always_inline]] inline void divisionFault() {
#if defined(__x86_64__) || defined(__i386__)
  std::uint32_t quotient = 1;
  std::uint32_t rest = 0;
  __asm__ volatile("divl %[zero]" : "+a"(quotient), "+d"(rest) : [zero] "r"(0) : "cc");
#endif
  std::raise(SIGFPE);
  std::abort();
}

// Converts as the processor does: a value out of range and a NaN become the lowest number. The
// comparison is written so that a NaN fails it.
std::int64_t truncated(double value) {
  if (!(value >= -kEndOfRange && value < kEndOfRange)) {
    return std::numeric_limits<std::int64_t>::min();
  }
  return static_cast<std::int64_t>(value);
}

constexpr std::array<std::int64_t, kDigitsOf64Bits> kPowersOfTen = [] {
  std::array<std::int64_t, kDigitsOf64Bits> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

std::int64_t powerOfTen(long exponent) { return kPowersOfTen[static_cast<std::size_t>(exponent)]; }

std::int64_t roundedTo(std::int64_t unit, std::int64_t half, std::int64_t value) {
  const std::uint64_t sign = value < 0 ? ~std::uint64_t{0} : 0;  // x ^ sign - sign negates or not
  const auto withSign = [sign](std::int64_t x) {
    return wrapped((static_cast<std::uint64_t>(x) ^ sign) - sign);
  };
  return withSign(wrapAdd(withSign(value), half) / unit * unit);
}

// Rounds half away from zero. A negative number of digits cuts places before the point, but what is
// added stays 0.5.
std::int64_t roundedHere(std::int64_t value, long digits) {
  // The usual number of places; a constant divides several times as fast.
  if (digits == 2) [[likely]]
    return roundedTo(10'000, 5'000, value);
  if (digits >= kDecimals) return value;
  const long cut = kDecimals - digits;
  if (cut >= kDigitsOf64Bits) return 0;  // no digit is left, and the power would not fit
  const std::int64_t unit = powerOfTen(cut);
  return roundedTo(unit, digits > 0 ? unit / 2 : 500'000, value);
}

// Scales the digits after the point, a number read from `length` characters, to millionths.
std::int64_t scaledFraction(std::int64_t number, std::size_t length) {
  if (length <= kDecimals) {
    return wrapMultiply(number, powerOfTen(kDecimals - static_cast<long>(length)));
  }
  for (std::size_t i = kDecimals; i < length && number != 0; ++i) number /= 10;
  return number;
}

// The texts "00" to "99": ToString writes two digits per division.
struct Pair {
  OLECHAR tens;
  OLECHAR ones;
};
constexpr std::array<Pair, 100> kPairs = [] {
  std::array<Pair, 100> pairs{};
  for (int i = 0; i < 100; ++i) {
    pairs[static_cast<std::size_t>(i)] = {static_cast<OLECHAR>(u'0' + i / 10),
                                          static_cast<OLECHAR>(u'0' + i % 10)};
  }
  return pairs;
}();

// Writes two digits that end before `end`; returns the place of the first.
OLECHAR* putPair(OLECHAR* end, std::uint64_t pair) {
  std::memcpy(end - 2, &kPairs[pair], sizeof(Pair));
  return end - 2;
}

// Counts the digits of a number below 10^18 without a loop. 1233 / 4096 is log10(2), so the
// first guess is right or one too low; the table decides. Zero has one digit.
std::size_t digitCount(std::uint64_t number) {
  const auto bits = static_cast<std::size_t>(std::bit_width(number | 1));
  const std::size_t atLeast = bits * 1233 >> 12;
  return atLeast + (static_cast<std::int64_t>(number | 1) >= kPowersOfTen[atLeast] ? 1 : 0);
}

// Returns a text whose units the caller still has to write.
CComBSTR ofLength(std::size_t length) {
  CComBSTR text;
  text.m_str = qx::newBstr(length);
  if (text.m_str == nullptr) qx::raiseError(E_OUTOFMEMORY);
  return text;
}

double roundedByHost(ICompanyService* service, IDecimalData* data, double amount,
                     RoundingContextEnum context, const CComBSTR& currency,
                     CComQIPtr<IRoundedData>& rounded) {
  data->PutValue(amount);
  data->PutContext(context);
  data->PutCurrency(currency);
  // Stored before its value is read: a result that cannot be read still replaces the last one.
  rounded = service->RoundDecimal(data);
  return rounded->GetValue();
}

// A function of its own, so that Round needs no stack frame for the usual case.
[[gnu::noinline, gnu::cold]] void roundByLogin(CQXCurrency& amount) {
  amount.FromDouble(roundedByHost(CQXCurrency::m_ptrCompService, CQXCurrency::m_ptrDecimalData,
                                  amount.ToDouble(), rc_Default, CQXCurrency::m_bstrCurr,
                                  CQXCurrency::m_ptrRoundedData));
}

double roundedByCompany(const CComPtr<ICompany>& company, double amount,
                        RoundingContextEnum context, const CComBSTR& currency) {
  const CComPtr<ICompanyService> service = company->GetCompanyService();
  const CComQIPtr<IDecimalData> data(service->GetDataInterface(qx::kDecimalData));
  if (!data) qx::raiseError(E_POINTER);
  CComQIPtr<IRoundedData> rounded;
  return roundedByHost(service, data, amount, context, currency, rounded);
}

CComBSTR displayForm(const CComPtr<ICompany>& company, double amount,
                     HvMoneyPrecisionTypes precision) {
  const CComQIPtr<IDataHelper> helper(company->GetBusinessObject(qx::kDataHelper));
  return qx::firstFieldText(helper->FormatMoneyToString(amount, precision));
}

}  // namespace

CQXCurrency::CQXCurrency(std::int64_t integer, long fraction)
    : m_value(wrapAdd(wrapMultiply(integer, kUnit), fraction)) {}

CQXCurrency::CQXCurrency(int amount) : m_value(std::int64_t{amount} * std::int64_t{kUnit}) {}

std::int64_t CQXCurrency::millionthsOf(std::int64_t integer) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max() / std::int64_t{kUnit};
  if (integer < -kLargest || integer > kLargest) qx::raiseError(kOverflow);
  return integer * std::int64_t{kUnit};
}

CQXCurrency::CQXCurrency(const CComBSTR& text) { FromBSTR(text); }

CQXCurrency::CQXCurrency(double amount) { FromDouble(amount); }

CQXCurrency& CQXCurrency::operator=(int amount) {
  const std::uint32_t product = static_cast<std::uint32_t>(amount) * std::uint32_t{kUnit};
  m_value = static_cast<std::int32_t>(product);
  return *this;
}

CQXCurrency& CQXCurrency::operator=(double amount) {
  FromDouble(amount);
  return *this;
}

CQXCurrency CQXCurrency::operator+(const CQXCurrency& other) const {
  checkSum(static_cast<double>(m_value) + static_cast<double>(other.m_value));
  return fromMillionths(wrapAdd(m_value, other.m_value));
}

CQXCurrency CQXCurrency::operator-(const CQXCurrency& other) const {
  checkSum(static_cast<double>(m_value) - static_cast<double>(other.m_value));
  return fromMillionths(wrapSubtract(m_value, other.m_value));
}

CQXCurrency CQXCurrency::operator-() const { return fromMillionths(wrapSubtract(0, m_value)); }

CQXCurrency CQXCurrency::operator*(const CQXCurrency& other) const {
  qx::CUInt128 product(magnitudeOf(m_value));
  product *= magnitudeOf(other.m_value);
  const bool negative = (m_value < 0) != (other.m_value < 0);
  return fromMillionths(signedResult(product.dividedBy(kUnit), negative));
}

CQXCurrency CQXCurrency::operator*(long factor) const {
  qx::CUInt128 product(magnitudeOf(m_value));
  product *= magnitudeOf(factor);
  if (!product.isExact()) qx::raiseError(kOverflow);
  return fromMillionths(signedResult(product, (m_value < 0) != (factor < 0)));
}

CQXCurrency CQXCurrency::operator/(const CQXCurrency& other) const {
  const std::uint64_t dividend = magnitudeOf(m_value);
  const std::uint64_t divisor = magnitudeOf(other.m_value);
  if (divisor == 0) divisionFault();
  const std::uint64_t whole = dividend / divisor;
  // Seven decimals of the remainder: the seventh decides how the sixth is rounded.
  qx::CUInt128 rest(dividend % divisor);
  rest *= kUnit * 10;
  const std::uint64_t sevenDigits = rest.dividedBy(divisor).lower();
  const std::uint64_t roundUp = sevenDigits % 10 >= 5 ? 1 : 0;
  qx::CUInt128 quotient(whole);
  quotient *= kUnit;
  quotient += qx::CUInt128(sevenDigits / 10 + roundUp);
  return fromMillionths(signedResult(quotient, (m_value < 0) != (other.m_value < 0)));
}

std::int64_t CQXCurrency::GetInteger() const { return m_value / std::int64_t{kUnit}; }

long CQXCurrency::GetFraction() const { return m_value % std::int64_t{kUnit}; }

void CQXCurrency::Round(int digits) {
  if (m_RoundViaRX && m_ptrCompService && m_ptrDecimalData) [[unlikely]]
    return roundByLogin(*this);
  m_value = roundedHere(m_value, digits == 0 ? 0 : m_DefaultDecimal);
}

void CQXCurrency::RoundByADD(int) { m_value = roundedHere(m_value, m_DefaultDecimal); }

void CQXCurrency::Round(CComPtr<ICompany> company, const CComBSTR& location,
                        const CComBSTR& currency, RoundingContextEnum context, int always) {
  // The host rounds for this country by rules of its own.
  if (always == 0 && location.View() != u"HU") return;
  FromDouble(roundedByCompany(company, ToDouble(), context, currency));
}

void CQXCurrency::FromDouble(double amount) {
  const double millionths = amount * static_cast<double>(kUnit);
  if (std::fabs(millionths) < 1.0) {
    m_value = 0;
  } else {
    m_value = truncated(millionths < 0 ? millionths - 0.5 : millionths + 0.5);
  }
}

double CQXCurrency::ToDouble() const {
  return static_cast<double>(m_value) / static_cast<double>(kUnit);
}

CQXCurrency::operator CComVariant() const { return CComVariant(ToDouble()); }

void CQXCurrency::FromString(const CString& text) {
  const std::u16string_view all = text.View();
  const std::size_t point = all.find(u'.');
  const bool hasPoint = point != std::u16string_view::npos;
  const std::u16string_view fraction = hasPoint ? all.substr(point + 1) : u"0";
  const std::int64_t integer = qx::leadingNumber64(all.substr(0, point));
  const std::int64_t millionths = scaledFraction(qx::leadingNumber64(fraction), fraction.size());
  // The whole part is stored before the product can throw: callers find it after an overflow.
  m_value = integer;
  *this *= static_cast<long>(kUnit);
  m_value = integer < 0 ? wrapSubtract(m_value, millionths) : wrapAdd(m_value, millionths);
}

void CQXCurrency::FromBSTR(const CComBSTR& text) {
  // A formatted copy ends at the first zero unit, which a CComBSTR may contain.
  CString copy;
  copy.Format(u"%s", text);
  FromString(copy);
}

// The digits are counted first and then written from the end, straight into the result.
CComBSTR CQXCurrency::ToString() const {
  const std::uint64_t magnitude = magnitudeOf(m_value);
  std::uint64_t whole = magnitude / kUnit;
  auto fraction = static_cast<std::uint32_t>(magnitude % kUnit);
  const std::size_t sign = m_value < 0 ? 1 : 0;
  CComBSTR text = ofLength(sign + digitCount(whole) + 1 + kDecimals);
  *text.m_str = u'-';  // overwritten by the first digit if there is no sign
  OLECHAR* first = text.m_str + text.Length();
  for (int i = 0; i < kDecimals; i += 2, fraction /= 100) first = putPair(first, fraction % 100);
  *--first = u'.';
  for (; whole >= 100; whole /= 100) first = putPair(first, whole % 100);
  if (whole >= 10) {
    putPair(first, whole);
  } else {
    *--first = static_cast<OLECHAR>(u'0' + whole);
  }
  return text;
}

CComBSTR CQXCurrency::StringFromMoney(CComPtr<ICompany> company,
                                      HvMoneyPrecisionTypes precision) const {
  if (precision == mpt_Sum && !m_bstrLoc.IsEmpty() && !m_bstrCurr.IsEmpty()) {
    return StringFromMoney(company, m_bstrLoc, m_bstrCurr);
  }
  return displayForm(company, ToDouble(), precision);
}

CComBSTR CQXCurrency::StringFromMoney(CComPtr<ICompany> company, const CComBSTR&,
                                      const CComBSTR& currency) const {
  return displayForm(company, roundedByCompany(company, ToDouble(), rc_Default, currency), mpt_Sum);
}

CQXCurrency CQXCurrency::GCD(const CQXCurrency& other) const {
  if (IsZero() || other.IsZero()) return CQXCurrency(1);
  return fromMillionths(wrapped(std::gcd(magnitudeOf(m_value), magnitudeOf(other.m_value))));
}
