#include "qxframework/automation/date_text.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/civil_time.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"

#include <array>

namespace qx {
namespace {

// Returns 1..12 for an English month name of three letters or in full; 0 for another word.
int monthNamed(std::u16string_view word) {
  static constexpr std::array<std::u16string_view, 12> kMonths = {
      u"january", u"february", u"march",     u"april",   u"may",      u"june",
      u"july",    u"august",   u"september", u"october", u"november", u"december"};
  const std::u16string name = toLower(word);
  for (std::size_t i = 0; i < kMonths.size(); ++i)
    if (name == kMonths[i] || name == kMonths[i].substr(0, 3)) return static_cast<int>(i) + 1;
  return 0;
}

// The number of digits distinguishes a short year from a whole one: 0099 is not 1999.
struct Number {
  int value = 0;
  int digits = 0;
};

// Reads a date and a time from the front of a text. A `read` operation returns false if the text
// does not continue with its part. The whole text is refused then, so a half-read part does no
// harm.
class Reader {
 public:
  explicit Reader(std::u16string_view text) : rest_(text) {}

  std::optional<DATE> readAll() {
    skipBlanks();
    if (rest_.empty()) return std::nullopt;
    // Each part is read at most once and in either order: a second one is refused.
    while (!rest_.empty())
      if (!readPart()) return std::nullopt;
    if (!hasDate_) time_.year = 1899, time_.month = 12, time_.day = 30;
    return dateFromCivil(time_);
  }

 private:
  bool readPart() {
    bool read = false;
    if (isLetter(peek())) {
      read = readMonthFirst();
    } else if (const auto first = takeNumber(); first) {
      read = readAfterNumber(*first);
    }
    skipBlanks();
    // A "T" joins a date and the time after it. A digit must follow, else "2024-01-31T" would read.
    if (read && (peek() == u'T' || peek() == u't') && hasDate_ && !hasTime_) {
      rest_.remove_prefix(1);
      read = isDigit(peek());
    }
    return read;
  }

  // A number starts a date or a time; the sign or word after it decides which.
  bool readAfterNumber(Number first) {
    const char16_t sign = peek();
    if (sign == u':') return readTime(first);
    if (sign == u'/' || sign == u'-' || sign == u'.') return readDate(first, sign);
    skipBlanks();
    if (startsWithAmOrPm()) return readTime(first);
    return readMonthSecond(first);
  }

  bool readDate(Number first, char16_t sign) {
    rest_.remove_prefix(1);
    if (isLetter(peek())) return readMonthSecond(first, sign);
    const auto second = takeNumber();
    if (!second || !take(sign)) return false;
    const auto third = takeNumber();
    if (!third) return false;
    // A year of more than two digits comes first, as in ISO dates. Else the month comes first
    // unless it cannot be a month; dateFromCivil refuses 13/13/2024.
    if (first.digits > 2) return setDate(first, second->value, third->value);
    if (first.value > 12) return setDate(*third, second->value, first.value);
    return setDate(*third, first.value, second->value);
  }

  // Reads "31 Jan 2024" or "31-Jan-2024" from the month on.
  bool readMonthSecond(Number day, char16_t sign = 0) {
    const int month = monthNamed(takeWord());
    if (sign == 0) {
      skipBlanks();
    } else if (!take(sign)) {
      return false;
    }
    const auto year = takeNumber();
    return year && setDate(*year, month, day.value);
  }

  // Reads "Jan 31, 2024".
  bool readMonthFirst() {
    const int month = monthNamed(takeWord());
    skipBlanks();
    const auto day = takeNumber();
    if (!day) return false;
    take(u',');  // optional
    skipBlanks();
    const auto year = takeNumber();
    return year && setDate(*year, month, day->value);
  }

  bool setDate(Number year, int month, int day) {
    if (hasDate_ || month == 0) return false;
    const bool shortYear = year.digits <= 2;
    time_.year = year.value + (!shortYear ? 0 : year.value < 30 ? 2000 : 1900);
    time_.month = month;
    time_.day = day;
    return hasDate_ = true;
  }

  bool readTime(Number hour) {
    if (hasTime_) return false;
    time_.hour = hour.value;
    if (take(u':') && !readTwo(time_.minute)) return false;
    if (take(u':') && !readSecond()) return false;
    skipBlanks();
    if (startsWithAmOrPm() && !readAmOrPm()) return false;
    return hasTime_ = true;
  }

  bool readTwo(int& part) {
    const auto number = takeNumber();
    if (number) part = number->value;
    return number && number->digits <= 2;
  }

  bool readSecond() {
    if (!readTwo(time_.second)) return false;
    if (!take(u'.')) return true;
    if (!isDigit(peek())) return false;
    while (isDigit(peek())) rest_.remove_prefix(1);
    return true;
  }

  bool startsWithAmOrPm() const {
    const std::u16string word = toLower(rest_.substr(0, 2));
    return (word == u"am" || word == u"pm") && (rest_.size() == 2 || !isLetter(rest_[2]));
  }

  bool readAmOrPm() {
    const bool evening = toLower(takeWord()) == u"pm";
    // 12 AM is midnight and 12 PM is noon.
    if (time_.hour < 1 || time_.hour > 12) return false;
    time_.hour = time_.hour % 12 + (evening ? 12 : 0);
    return true;
  }

  // Returns a zero at the end, which no part accepts; a zero in the text is refused likewise.
  char16_t peek() const { return rest_.empty() ? u'\0' : rest_.front(); }
  bool take(char16_t unit) {
    if (peek() != unit) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void skipBlanks() {
    while (isInlineBlank(peek())) rest_.remove_prefix(1);
  }
  std::u16string_view takeWord() {
    std::size_t length = 0;
    while (length < rest_.size() && isLetter(rest_[length])) ++length;
    const std::u16string_view word = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return word;
  }
  // Reads one to four digits. Returns nothing for none or more; the fifth digit stops the loop, so
  // that the value cannot overflow.
  std::optional<Number> takeNumber() {
    Number number;
    for (; isDigit(peek()) && number.digits <= 4; ++number.digits) {
      number.value = number.value * 10 + (peek() - u'0');
      rest_.remove_prefix(1);
    }
    return number.digits == 0 || number.digits > 4 ? std::nullopt : std::optional(number);
  }

  std::u16string_view rest_;
  CivilTime time_;
  bool hasDate_ = false;
  bool hasTime_ = false;
};

// Returns the time on the clock of twelve hours, where both midnight and noon are 12.
std::u16string timeText(const CivilTime& time) {
  const int hour = time.hour % 12 == 0 ? 12 : time.hour % 12;
  return format(u"%d:%02d:%02d %s", hour, time.minute, time.second, time.hour < 12 ? u"AM" : u"PM");
}

}  // namespace

std::optional<std::u16string> textFromDate(DATE date) {
  const auto time = civilFromDate(date);
  if (!time) return std::nullopt;
  const bool midnight = time->hour == 0 && time->minute == 0 && time->second == 0;
  const bool firstDay = time->year == 1899 && time->month == 12 && time->day == 30;
  // A date on the first day of the count is a time alone.
  if (firstDay) return timeText(*time);
  const std::u16string day = format(u"%d/%d/%04d", time->month, time->day, time->year);
  return midnight ? day : day + u" " + timeText(*time);
}

std::optional<DATE> dateFromText(std::u16string_view text) { return Reader(text).readAll(); }

}  // namespace qx
