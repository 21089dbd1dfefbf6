#pragma once

// Money: a signed 64-bit count of millionths. Products and quotients are calculated in 128 bits.
//
// An overflow throws a _com_error with code -1, a failure of the host throws one with its code; the
// amount then keeps its value, unless an operation says otherwise. Operations that wrap say so too.
// The static members choose who rounds, this class or the host: an add-on sets them once after its
// login and clears them before it releases the company. One thread uses all amounts.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"

#include <concepts>
#include <cstdint>

class CComVariant;
class ICompany;
class ICompanyService;
class IDecimalData;
class IRoundedData;

/// An amount of money with six decimal places, from -9,223,372,036,854.775808 to
/// 9,223,372,036,854.775807.
class QX_API CQXCurrency {
 public:
  CQXCurrency() = default;
  CQXCurrency(const CQXCurrency&) = default;
  /// Makes the amount of `integer` × 1,000,000 + `fraction` millionths; the signs are independent,
  /// so (-1, 500000) is -0.5. Wraps.
  CQXCurrency(std::int64_t integer, long fraction);
  /// Makes a whole amount; every `int` fits.
  CQXCurrency(int amount);
  /// Makes a whole amount of any wider integer. Throws if it does not fit.
  template <qx::WideInteger Number>
  CQXCurrency(Number amount) : m_value(millionthsOf(integerOf(amount))) {}
  /// Reads the text as FromBSTR does, and throws as that does.
  CQXCurrency(const CComBSTR& text);
  /// Rounds as FromDouble does.
  CQXCurrency(double amount);

  CQXCurrency& operator=(const CQXCurrency&) = default;
  /// Assigns a whole amount, but multiplies in 32 bits, unlike the constructor: 3000 becomes
  /// -1294.967296.
  CQXCurrency& operator=(int amount);
  /// Assigns a whole amount as the constructor makes it, without the 32 bits of the operation
  /// above: 3000L becomes 3000. Throws if it does not fit.
  template <qx::WideInteger Number>
  CQXCurrency& operator=(Number amount) {
    return *this = CQXCurrency(amount);
  }
  /// Rounds as FromDouble does.
  CQXCurrency& operator=(double amount);

  /// Throws if the sum, computed in double, reaches 2^63 in magnitude; near the limits this can
  /// happen although the exact sum would fit.
  CQXCurrency operator+(const CQXCurrency& other) const;
  CQXCurrency& operator+=(const CQXCurrency& other) { return *this = *this + other; }
  /// Throws under the same condition.
  CQXCurrency operator-(const CQXCurrency& other) const;
  /// Returns the amount with the other sign. Does not throw: the lowest amount stays as it is.
  CQXCurrency operator-() const;
  CQXCurrency& operator-=(const CQXCurrency& other) { return *this = *this - other; }
  /// Returns the product, cut at the sixth decimal. Throws if the magnitude of the result needs
  /// more than 64 bits; one that needs 64 wraps.
  CQXCurrency operator*(const CQXCurrency& other) const;
  /// Returns the exact multiple; throws and wraps like the product. A double factor is converted to
  /// this `long`, so its decimals are lost, also by `*=`: write CQXCurrency(2.5).
  CQXCurrency operator*(long factor) const;
  /// Returns the same for a whole factor on the left; a double there does not compile.
  template <std::integral Number>
  friend CQXCurrency operator*(Number factor, const CQXCurrency& amount) {
    return amount * integerOf(factor);
  }
  CQXCurrency& operator*=(const CQXCurrency& other) { return *this = *this * other; }
  CQXCurrency& operator*=(long factor) { return *this = *this * factor; }
  /// Returns the quotient, rounded at the sixth decimal, a half away from zero; throws and wraps
  /// like the product. A division by zero is a processor's fault (SIGFPE) and does not return.
  CQXCurrency operator/(const CQXCurrency& other) const;
  CQXCurrency& operator/=(const CQXCurrency& other) { return *this = *this / other; }

  // Comparisons look at the number of millionths.
  bool operator==(const CQXCurrency& other) const { return m_value == other.m_value; }
  bool operator!=(const CQXCurrency& other) const { return m_value != other.m_value; }
  bool operator>=(const CQXCurrency& other) const { return m_value >= other.m_value; }
  bool operator>(const CQXCurrency& other) const { return m_value > other.m_value; }
  bool operator<=(const CQXCurrency& other) const { return m_value <= other.m_value; }
  bool operator<(const CQXCurrency& other) const { return m_value < other.m_value; }

  /// Returns the whole part, cut towards zero.
  std::int64_t GetInteger() const;
  /// Returns the millionths beside the whole part, with the sign of the amount.
  long GetFraction() const;
  bool IsZero() const { return m_value == 0; }

  /// Rounds in the host if m_RoundViaRX, m_ptrCompService and m_ptrDecimalData are set; `digits` is
  /// then ignored. Otherwise rounds here, a half away from zero: to a whole amount if `digits` is
  /// 0, to m_DefaultDecimal places for any other number. With 6 or more places the amount stays as
  /// it is; with fewer than 0 it adds 0.5 and cuts digits before the point. A carry over an end of
  /// the range wraps.
  void Round(int digits);
  /// Rounds here, always to m_DefaultDecimal places.
  void RoundByADD(int digits);
  /// Rounds in the host for `currency` and `context` if `always` is not 0 or `location` is "HU";
  /// does nothing otherwise. Throws E_POINTER if the company or a service of it is null.
  void Round(CComPtr<ICompany> company, const CComBSTR& location, const CComBSTR& currency,
             RoundingContextEnum context, int always);

  /// Rounds to the nearest millionth, a half away from zero; less than one millionth is 0. A value
  /// outside the range, an infinity or a NaN becomes the lowest amount.
  void FromDouble(double amount);
  /// Returns the nearest double, which holds about fifteen digits.
  double ToDouble() const;
  /// Returns ToDouble as VT_R8, for the values of a row.
  operator CComVariant() const;
  /// Reads a text such as "12.34": on each side of the first point a sign and digits up to the
  /// first other character, as 64-bit numbers that stop at the ends of their range; no digits are
  /// 0. Does not report text that it cannot read. Decimals beyond the sixth are cut. Every
  /// character after the point counts as a place, so "3.5x" is 3.05. The sign belongs to the whole
  /// part, so "-0.5" is 0.5. Throws if the whole part needs more than 64 bits as millionths; the
  /// amount is then the whole part as a number of millionths. An amount that needs 64 bits wraps.
  void FromString(const CString& text);
  /// Reads the text up to its first zero unit as FromString does.
  void FromBSTR(const CComBSTR& text);
  /// Returns a text such as "-12.340000", always with six decimals.
  CComBSTR ToString() const;
  CComBSTR ToBSTR() const { return ToString(); }
  /// Returns the amount in the company's display form. With mpt_Sum, and m_bstrLoc and m_bstrCurr
  /// set, the host rounds the amount first, as in the next operation.
  CComBSTR StringFromMoney(CComPtr<ICompany> company, HvMoneyPrecisionTypes precision) const;
  /// Returns the display form of the amount as the host rounds it for `currency`; `location` is not
  /// used.
  CComBSTR StringFromMoney(CComPtr<ICompany> company, const CComBSTR& location,
                           const CComBSTR& currency) const;
  /// Returns the greatest common divisor of the two numbers of millionths; 1.000000 if one of them
  /// is 0.
  CQXCurrency GCD(const CQXCurrency& other) const;

  static int m_DefaultDecimal;                         ///< decimal places of Round and RoundByADD
  static bool m_RoundViaRX;                            ///< true if Round(int) asks the host
  static CComBSTR m_bstrLoc;                           ///< country of the company
  static CComBSTR m_bstrCurr;                          ///< currency code
  static CComPtr<ICompany> m_ptrCompany;               ///< for the add-on; not used here
  static CComQIPtr<ICompanyService> m_ptrCompService;  ///< what Round(int) asks
  static CComQIPtr<IDecimalData> m_ptrDecimalData;     ///< where Round(int) puts the amount
  /// The last result that Round(int) got from the host. A failure to round keeps the one before; a
  /// failure to read the value from the new one does not.
  static CComQIPtr<IRoundedData> m_ptrRoundedData;

 private:
  static CQXCurrency fromMillionths(std::int64_t value) {
    CQXCurrency amount;
    amount.m_value = value;
    return amount;
  }

  /// Returns the number itself; throws if it is above the range of 64 bits with a sign.
  template <std::integral Number>
  static std::int64_t integerOf(Number number) {
    const auto integer = static_cast<std::int64_t>(number);
    if (std::unsigned_integral<Number> && integer < 0) qx::raiseError(-1);
    return integer;
  }
  static std::int64_t millionthsOf(std::int64_t integer);

  std::int64_t m_value = 0;
};
