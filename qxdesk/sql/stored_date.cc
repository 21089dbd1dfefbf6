#include "qxdesk/sql/stored_date.h"

#include <array>
#include <cstdio>

namespace qx::sql {

namespace {

/// Reads the characters of a text one after the other. It does not stop at the first wrong one:
/// every date of a result passes here, and one test at the end is cheaper than one at each step.
class Scan {
 public:
  explicit Scan(const char* text) : at_(text) {}
  int number(int digits) {
    int value = 0;
    for (; digits > 0; --digits) {
      const int digit = *at_++ - '0';
      good_ &= digit >= 0 && digit <= 9;
      value = value * 10 + digit;
    }
    return value;
  }
  int numberAfter(char sign, int digits) {
    good_ &= *at_++ == sign;
    return number(digits);
  }
  bool isGood() const { return good_; }

 private:
  const char* at_;
  bool good_ = true;
};

/// Writes the digits of numbers between signs. It is much faster than printf, and every date that a
/// server returns passes here.
class Print {
 public:
  explicit Print(char* text) : at_(text) {}
  Print& number(int value, int digits) {
    for (int i = digits; i > 0; --i, value /= 10) at_[i - 1] = static_cast<char>('0' + value % 10);
    at_ += digits;
    return *this;
  }
  Print& numberAfter(char sign, int value) {
    *at_++ = sign;
    return number(value, 2);
  }

 private:
  char* at_;
};

bool hasUsualLength(const CivilTime& time) {
  const auto hasTwoDigits = [](int value) { return value >= 0 && value <= 99; };
  return time.year >= 0 && time.year <= 9999 && hasTwoDigits(time.month) &&
         hasTwoDigits(time.day) && hasTwoDigits(time.hour) && hasTwoDigits(time.minute) &&
         hasTwoDigits(time.second);
}

}  // namespace

void assignStored(std::string& text, const CivilTime& time) {
  if (hasUsualLength(time)) {
    text.resize(19);
    Print(text.data())
        .number(time.year, 4)
        .numberAfter('-', time.month)
        .numberAfter('-', time.day)
        .numberAfter(' ', time.hour)
        .numberAfter(':', time.minute)
        .numberAfter(':', time.second);
    return;
  }
  std::array<char, 72> form{};  // room for any six int values, which the compiler checks
  const int length =
      std::snprintf(form.data(), form.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year,
                    time.month, time.day, time.hour, time.minute, time.second);
  text.assign(form.data(), static_cast<std::size_t>(length));
}

std::optional<std::string> storedOfDate(DATE date) {
  const std::optional<CivilTime> time = civilFromDate(date);
  if (!time) return std::nullopt;
  std::string text;
  assignStored(text, *time);
  return text;
}

std::optional<DATE> dateOfStored(std::string_view text) {
  constexpr std::size_t kDateLength = 10;
  constexpr std::size_t kFullLength = 19;
  // The scan below reads exactly so many characters and looks at no end.
  if (text.size() != kFullLength && text.size() != kDateLength) return std::nullopt;
  Scan scan(text.data());
  CivilTime time{};
  time.year = scan.number(4);
  time.month = scan.numberAfter('-', 2);
  time.day = scan.numberAfter('-', 2);
  if (text.size() == kFullLength) {
    time.hour = scan.numberAfter(' ', 2);
    time.minute = scan.numberAfter(':', 2);
    time.second = scan.numberAfter(':', 2);
  }
  return scan.isGood() ? dateFromCivil(time) : std::nullopt;
}

}  // namespace qx::sql
