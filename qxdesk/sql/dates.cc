#include "qxdesk/sql/dates.h"

#include <array>
#include <cstdio>

namespace qx::sql {
namespace {

// Reads fixed-width numbers and separators from the front of a text.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool empty() const { return rest_.empty(); }

  bool accept(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // A number of exactly `width` digits; clears ok() otherwise.
  int digits(std::size_t width) {
    int value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      if (rest_.empty() || rest_.front() < '0' || rest_.front() > '9') {
        ok_ = false;
        return 0;
      }
      value = value * 10 + (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return value;
  }

  void skipDigits() {
    while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') rest_.remove_prefix(1);
  }

  bool ok() const { return ok_; }

 private:
  std::string_view rest_;
  bool ok_ = true;
};

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

int daysOfMonth(int year, int month) {
  constexpr std::array<int, 13> kDays = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays.at(static_cast<std::size_t>(month));
}

struct Moment {
  int year, month, day, hour = 0, minute = 0, second = 0;

  bool valid() const {
    return year >= 1 && month >= 1 && month <= 12 && day >= 1 && day <= daysOfMonth(year, month) &&
           hour < 24 && minute < 60 && second < 60;
  }
};

// The time behind the day; false when something else stands there.
bool readTime(Reader& reader, Moment& moment) {
  if (reader.empty()) return true;
  if (!reader.accept(' ') && !reader.accept('T')) return false;
  moment.hour = reader.digits(2);
  if (!reader.accept(':')) return false;
  moment.minute = reader.digits(2);
  if (reader.accept(':')) {
    moment.second = reader.digits(2);
    if (reader.accept('.')) reader.skipDigits();
  }
  return reader.ok() && reader.empty();
}

}  // namespace

std::optional<std::string> storedDate(std::string_view text) {
  Reader reader(trimmed(text));
  Moment moment{};
  moment.year = reader.digits(4);
  const bool dashes = reader.accept('-');
  moment.month = reader.digits(2);
  if (dashes && !reader.accept('-')) return std::nullopt;
  moment.day = reader.digits(2);
  if (!reader.ok() || !readTime(reader, moment) || !moment.valid()) return std::nullopt;
  std::array<char, 72> stored{};
  std::snprintf(stored.data(), stored.size(), "%04d-%02d-%02d %02d:%02d:%02d", moment.year,
                moment.month, moment.day, moment.hour, moment.minute, moment.second);
  return stored.data();
}

}  // namespace qx::sql
