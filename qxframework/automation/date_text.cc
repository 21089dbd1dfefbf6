#include "qxframework/automation/date_text.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/civil_time.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <span>

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

enum class Half { None, Morning, Evening };

// A number or the name of a month.
struct Element {
  int value;
  int digits;             // 0 for a name; distinguishes the year 99 from the year 0099
  char16_t joint = u' ';  // the separator between the element before this one and this one
  Half half = Half::None;
};
using Elements = std::span<const Element>;

bool isJoint(char16_t unit) {
  return unit == u'/' || unit == u'-' || unit == u':' || unit == u'.' || unit == u',';
}
// Colon and point join the elements of a time; a blank or a comma separates a time from a date.
bool joinsTime(const Element& element) { return element.joint == u':' || element.joint == u'.'; }
bool isLoose(const Element& element) { return element.joint == u' ' || element.joint == u','; }

// Splits a text into its elements.
class Scanner {
 public:
  explicit Scanner(std::u16string_view text) : rest_(text) {}

  // Returns false if the text has something else in it, or more elements than a date and a time.
  bool read() {
    skipBlanks();
    while (!rest_.empty()) {
      if (!readElement(takeJoint())) return false;
      skipBlanks();
    }
    return true;
  }

  Elements elements() const { return {list_.data(), count_}; }

 private:
  bool readElement(char16_t joint) {
    if (count_ == 0 && joint != u' ') return false;
    if (isDigit(peek())) return readNumber(joint);
    const std::u16string_view word = takeWord();
    if (joint == u' ' && count_ > 0 && (readHalf(word) || joinsIsoTime(word))) return true;
    const int month = monthNamed(word);
    return month != 0 && append({month, 0, joint, Half::None});
  }

  // Reads one to four digits; with more of them, the value could overflow.
  bool readNumber(char16_t joint) {
    Element number{0, 0, joint, Half::None};
    for (; isDigit(peek()) && number.digits <= 4; ++number.digits) {
      number.value = number.value * 10 + (peek() - u'0');
      rest_.remove_prefix(1);
    }
    const bool isSecond = joint == u':' && count_ > 1 && list_[count_ - 1].joint == u':';
    if (isSecond) skipFraction();
    return number.digits <= 4 && append(number);
  }

  bool readHalf(std::u16string_view word) {
    Element& hour = list_[count_ - 1];
    const std::u16string name = toLower(word);
    const bool morning = name == u"am" || name == u"a";
    if (!morning && name != u"pm" && name != u"p") return false;
    if (hour.digits == 0 || hour.half != Half::None) return false;
    hour.half = morning ? Half::Morning : Half::Evening;
    return true;
  }

  // True for the "T" in 2024-01-31T15:04. A digit must follow, else "2024-01-31T" would read.
  bool joinsIsoTime(std::u16string_view word) const {
    return (word == u"T" || word == u"t") && count_ == 3 && isDigit(peek());
  }

  bool append(const Element& element) {
    if (count_ == list_.size()) return false;
    list_[count_++] = element;
    return true;
  }

  // Returns a zero at the end, which no element accepts; a zero in the text is refused likewise.
  char16_t peek() const { return rest_.empty() ? u'\0' : rest_.front(); }
  void skipBlanks() {
    while (isInlineBlank(peek())) rest_.remove_prefix(1);
  }
  char16_t takeJoint() {
    const char16_t joint = peek();
    if (!isJoint(joint)) return u' ';
    rest_.remove_prefix(1);
    skipBlanks();
    return joint;
  }
  std::u16string_view takeWord() {
    std::size_t length = 0;
    while (length < rest_.size() && isLetter(rest_[length])) ++length;
    const std::u16string_view word = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return word;
  }
  void skipFraction() {
    if (peek() != u'.' || rest_.size() < 2 || !isDigit(rest_[1])) return;
    rest_.remove_prefix(1);
    while (isDigit(peek())) rest_.remove_prefix(1);
  }

  std::u16string_view rest_;
  std::array<Element, 6> list_{};
  std::size_t count_ = 0;
};

// Stores a time of day. Returns false if the elements are none.
bool readTime(Elements elements, CivilTime& time) {
  if (elements.size() > 3) return false;
  for (const Element& element : elements)
    if (element.digits < 1 || element.digits > 2) return false;
  time.hour = elements[0].value;
  time.minute = elements.size() > 1 ? elements[1].value : 0;
  time.second = elements.size() > 2 ? elements[2].value : 0;
  // 12 AM is midnight and 12 PM is noon. "13:00 PM" is 13:00: the hour says it already.
  const Half half = elements.back().half;
  if (half == Half::Morning && time.hour == 12) time.hour = 0;
  if (half == Half::Evening && time.hour < 12) time.hour += 12;
  return time.hour < 24 && time.minute < 60 && time.second < 60;
}

// Stores the elements of a date in the order of the letters Y, M and D. Returns false if there is
// no such day.
bool fillDate(Elements elements, std::string_view order, CivilTime& time) {
  for (std::size_t i = 0; i < order.size(); ++i) {
    const int value = elements[i].value;
    const int digits = elements[i].digits;
    const bool isName = digits == 0;
    // Only a year has more than two digits, and only a month has a name.
    if (order[i] == 'Y' ? isName : digits > 2 || (isName && order[i] == 'D')) return false;
    if (order[i] == 'M') time.month = value;
    if (order[i] == 'D') time.day = value;
    if (order[i] == 'Y') time.year = value + (digits > 2 ? 0 : value < 30 ? 2000 : 1900);
  }
  return dateFromCivil(time).has_value();
}

int yearOfToday() {
  const auto now = localTime(std::time(nullptr));
  return now ? now->year : 0;  // 0 is no year of a date, so the text is refused
}

// Stores a date. Returns false if the elements are none.
bool readDate(Elements elements, std::optional<int> thisYear, CivilTime& time) {
  const auto isDate = [&](std::string_view order) {
    CivilTime tried = time;
    const bool fits = fillDate(elements, order, tried);
    if (fits) time = tried;
    return fits;
  };
  if (elements.size() == 2) {
    if (elements[1].joint == u'.') return false;  // a decimal number
    time.year = thisYear ? *thisYear : yearOfToday();
    time.day = 1;
    return isDate("MD") || isDate("DM") || isDate("MY") || isDate("YM");
  }
  if (elements.size() != 3) return false;
  // Only a whole year may be followed by the day: "2/30/10" is a typing error.
  return isDate("MDY") || isDate("DMY") || isDate("YMD") ||
         (elements[0].digits > 2 && isDate("YDM"));
}

// Returns the elements from `first` on that colons and points join to it. AM or PM ends them.
Elements joinedFrom(Elements all, std::size_t first) {
  std::size_t end = first + 1;
  while (end < all.size() && joinsTime(all[end]) && all[end - 1].half == Half::None) ++end;
  return all.subspan(first, end - first);
}

bool isClock(Elements joined) {
  const auto hasColon = [](const Element& element) { return element.joint == u':'; };
  return joined.back().half != Half::None || std::any_of(joined.begin(), joined.end(), hasColon);
}

// Finds the time among the elements; an empty span if there is none. Returns nothing for two times.
// Points join a time or a date. They join a date if something else is the time, or if they join the
// whole text and it is no time of day.
std::optional<Elements> findTime(Elements all) {
  Elements clock;
  Elements pointed;
  for (std::size_t i = 0; i < all.size();) {
    const Elements joined = joinedFrom(all, i);
    i += joined.size();
    if (joined.size() == 1 && joined.back().half == Half::None) continue;
    Elements& found = isClock(joined) ? clock : pointed;
    if (!found.empty()) return std::nullopt;
    found = joined;
  }
  CivilTime ignored;
  const bool isTime =
      !pointed.empty() && (pointed.size() < all.size() || readTime(pointed, ignored));
  return clock.empty() && isTime ? pointed : clock;
}

// The elements of a date and of a time; one of them may be empty.
struct Parts {
  Elements date;
  Elements time;
};

// Returns nothing if the time tears the date in two, or if a sign joins the one to the other.
std::optional<Parts> divided(Elements all) {
  const auto time = findTime(all);
  if (!time) return std::nullopt;
  const std::size_t rest = all.size() - time->size();
  if (time->empty() || rest == 0) return Parts{all.first(rest), *time};
  const bool isFirst = time->data() == all.data();
  if (!isFirst && &time->back() != &all.back()) return std::nullopt;
  const Parts parts{isFirst ? all.last(rest) : all.first(rest), *time};
  return isLoose(isFirst ? parts.date.front() : parts.time.front()) ? std::optional(parts)
                                                                    : std::nullopt;
}

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

std::optional<DATE> dateFromText(std::u16string_view text, std::optional<int> thisYear) {
  Scanner scanner(text);
  if (!scanner.read() || scanner.elements().empty()) return std::nullopt;
  const auto parts = divided(scanner.elements());
  if (!parts) return std::nullopt;
  CivilTime time{1899, 12, 30, 0, 0, 0};
  if (!parts->time.empty() && !readTime(parts->time, time)) return std::nullopt;
  if (!parts->date.empty() && !readDate(parts->date, thisYear, time)) return std::nullopt;
  return dateFromCivil(time);
}

}  // namespace qx
