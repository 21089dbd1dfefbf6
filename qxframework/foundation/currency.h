#pragma once

// Money: a signed 64-bit count of millionths, with exact arithmetic over 128-bit intermediates.
//
// An overflow raises a _com_error of code -1 and leaves the value as it was, and so does a host
// that fails, with the host's code. The operations that wrap instead say so. Rounding is done here
// or by the host's settings, as the static data choose, which the add-on fills once after its login
// and clears before it gives the company back. Nothing is guarded: one thread uses it all.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"

class ICompany;
class ICompanyService;
class IDecimalData;
class IRoundedData;

class QX_API CQXCurrency {
 public:
  CQXCurrency() = default;
  CQXCurrency(const CQXCurrency&) = default;
  /// `integer` × 1,000,000 + `fraction`, without a look at signs: (-1, 500000) is -0.5. Wraps.
  /// A `long` or a 64-bit number has no constructor of its own: write CQXCurrency(n, 0).
  CQXCurrency(std::int64_t integer, long fraction);
  /// A whole number.
  CQXCurrency(int amount);
  /// As FromBSTR, and raises as that does.
  CQXCurrency(const CComBSTR& text);
  /// As FromDouble.
  CQXCurrency(double amount);

  CQXCurrency& operator=(const CQXCurrency&) = default;
  /// Multiplies in 32 bits, unlike the constructor: 3000 becomes a negative amount.
  CQXCurrency& operator=(int amount);
  /// As FromDouble.
  CQXCurrency& operator=(double amount);

  /// Guarded by the sum as doubles: near the ends of the range it raises where that reaches 2^63,
  /// even if the exact sum does not.
  CQXCurrency operator+(const CQXCurrency& other) const;
  CQXCurrency& operator+=(const CQXCurrency& other) { return *this = *this + other; }
  CQXCurrency operator-(const CQXCurrency& other) const;
  /// Not checked: the lowest amount stays what it is.
  CQXCurrency operator-() const;
  CQXCurrency& operator-=(const CQXCurrency& other) { return *this = *this - other; }
  /// Truncates at the sixth decimal. Raises when the result's magnitude passes 64 bits; one that
  /// passes only 63 wraps.
  CQXCurrency operator*(const CQXCurrency& other) const;
  /// Exact; overflows alike. A double factor ends here, cut to a whole number, for `*` and for
  /// `*=`: write CQXCurrency(2.5).
  CQXCurrency operator*(long factor) const;
  CQXCurrency& operator*=(const CQXCurrency& other) { return *this = *this * other; }
  CQXCurrency& operator*=(long factor) { return *this = *this * factor; }
  /// Rounds half up in magnitude at the sixth decimal; overflows as `*`. Division by zero is the
  /// fault of the processor: SIGFPE.
  CQXCurrency operator/(const CQXCurrency& other) const;
  CQXCurrency& operator/=(const CQXCurrency& other) { return *this = *this / other; }

  // By the number of millionths.
  bool operator==(const CQXCurrency& other) const { return m_value == other.m_value; }
  bool operator!=(const CQXCurrency& other) const { return m_value != other.m_value; }
  bool operator>=(const CQXCurrency& other) const { return m_value >= other.m_value; }
  bool operator>(const CQXCurrency& other) const { return m_value > other.m_value; }
  bool operator<=(const CQXCurrency& other) const { return m_value <= other.m_value; }
  bool operator<(const CQXCurrency& other) const { return m_value < other.m_value; }

  /// The whole part, cut towards zero, and the millionths beside it with the sign of the amount.
  std::int64_t GetInteger() const;
  long GetFraction() const;
  bool IsZero() const { return m_value == 0; }

  /// By the host when m_RoundViaRX is set and the service and its data are there; `digits` is then
  /// ignored. Else half away from zero, to no place for 0 and to m_DefaultDecimal places for any
  /// other number; 6 and more leave the amount, and a negative number adds 0.5 and cuts in front of
  /// the point. What the half carries beyond an end of the range wraps.
  void Round(int digits);
  /// Always here, and always to m_DefaultDecimal places.
  void RoundByADD(int digits);
  /// By the host if `always` is not 0 or `location` is "HU"; else nothing happens. A company, or a
  /// service of it, that is missing raises E_POINTER.
  void Round(CComPtr<ICompany> company, const CComBSTR& location, const CComBSTR& currency,
             RoundingContextEnum context, int always);

  /// Rounds to the nearest millionth, a half away from zero, but less than one is 0. What has no
  /// place in the range, and what is not a number, becomes the lowest amount.
  void FromDouble(double amount);
  /// To about fifteen digits.
  double ToDouble() const;
  /// Reads "12.34" up to the first other character on each side of the point; no digits are 0.
  /// Decimals beyond six are cut. Whatever stands behind the point counts as a place, so "3.5x" is
  /// 3.05. The sign goes with the whole part, so "-0.5" loses it. A side too large for 64 bits
  /// reads as the nearest end of their range. A whole part whose amount passes 64 bits raises and
  /// stays behind as millionths; what passes only 63 wraps.
  void FromString(const CString& text);
  /// As FromString, up to a zero in the text.
  void FromBSTR(const CComBSTR& text);
  /// "-12.340000": always six decimals.
  CComBSTR ToString() const;
  CComBSTR ToBSTR() const { return ToString(); }
  /// The host's display form. With a `precision` of 0 and the statics for country and currency
  /// set, the amount is rounded first, as below. Raises what the host fails with.
  CComBSTR StringFromMoney(CComPtr<ICompany> company, HvMoneyPrecisionTypes precision) const;
  /// The display form of the amount as the host rounds it for `currency`.
  CComBSTR StringFromMoney(CComPtr<ICompany> company, const CComBSTR& location,
                           const CComBSTR& currency) const;
  /// The greatest common divisor, of the numbers of millionths; 1.000000 if one of the two is 0.
  CQXCurrency GCD(const CQXCurrency& other) const;

  static int m_DefaultDecimal;                         // decimal places of Round and RoundByADD
  static bool m_RoundViaRX;                            // whether Round(int) asks the host
  static CComBSTR m_bstrLoc;                           // country of the company
  static CComBSTR m_bstrCurr;                          // currency code
  static CComPtr<ICompany> m_ptrCompany;               // for the add-on; not used here
  static CComQIPtr<ICompanyService> m_ptrCompService;  // with the next, what Round(int) asks
  static CComQIPtr<IDecimalData> m_ptrDecimalData;
  /// What Round(int) got last from the host. A host that fails to round leaves it; where only the
  /// value cannot be read from it, it is the new one.
  static CComQIPtr<IRoundedData> m_ptrRoundedData;

 private:
  static CQXCurrency fromMillionths(std::int64_t value) {
    CQXCurrency amount;
    amount.m_value = value;
    return amount;
  }

  std::int64_t m_value = 0;
};
