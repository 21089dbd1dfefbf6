#include "qxdesk/sql/sqlite_functions.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/like_pattern.h"
#include "qxdesk/sql/numbers.h"
#include "qxdesk/sql/token_cursor.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/utf.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <variant>

namespace qx::sql {
namespace {

// The header states the codes as numbers, so that it does not need SQLite's header.
static_assert((kBadDateCode & 0xFF) == SQLITE_RANGE && (kOutOfRangeCode & 0xFF) == SQLITE_RANGE &&
              (kBadNumberCode & 0xFF) == SQLITE_RANGE);

// DETERMINISTIC lets SQLite evaluate a call with constant arguments once per statement. That holds
// for qx_now, too: all rows of a statement get the same time.
constexpr int kFunctionFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

constexpr std::string_view kAllowedFunctions[] = {
    "abs",       "avg",      "coalesce",      "count",         "date",         "datetime",
    "julianday", "length",   "like",          "ltrim",         "max",          "min",
    "rank",      "replace",  "round",         "rtrim",         "strftime",     "substr",
    "sum",       "qx_abs",   "qx_add_time",   "qx_cut",        "qx_whole",     "qx_date",
    "qx_like",   "qx_lower", "qx_now",        "qx_number",     "qx_substring", "qx_sum",
    "qx_text",   "qx_upper", "qx_month_date", "qx_whole_text",
};

// The text is read before its length: the call may convert the value, which changes the length. The
// length counts, since a text may contain NULs.
std::string_view textOf(sqlite3_value* value) {
  const unsigned char* text = sqlite3_value_text(value);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

bool anyNull(int count, sqlite3_value** values) {
  return std::any_of(values, values + count,
                     [](sqlite3_value* value) { return sqlite3_value_type(value) == SQLITE_NULL; });
}

void resultText(sqlite3_context* context, const std::string& text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

std::size_t characterLength(std::string_view text, std::size_t offset) {
  const auto character = codePointAt(text, offset);
  return character ? character->length : 1;
}

// SQLite is C code, through which no exception may pass. The code is set after the message, because
// sqlite3_result_error resets it.
template <typename Body>
void guarded(sqlite3_context* context, Body body) {
  try {
    body();
  } catch (const SqliteError& error) {
    sqlite3_result_error(context, error.what(), -1);
    sqlite3_result_error_code(context, error.code);
  } catch (const LikeStopped&) {
    sqlite3_result_error_code(context, SQLITE_INTERRUPT);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  } catch (...) {
    sqlite3_result_error(context, "a function failed", -1);
  }
}

const GuardSettings& settingsOf(sqlite3_context* context) {
  return *static_cast<const GuardSettings*>(sqlite3_user_data(context));
}

void nowFunction(sqlite3_context* context, int /*count*/, sqlite3_value** /*values*/) {
  guarded(context, [&] { resultText(context, settingsOf(context).now()); });
}

[[noreturn]] void failOutOfRange(const std::string& number) {
  throw SqliteError(kOutOfRangeCode, "out of range: " + valueExcerpt(number));
}

using Number = std::variant<sqlite3_int64, double>;

// from_chars knows neither blanks nor a plus sign. A number that is whole but exceeds 64 bits, or
// has a point or an exponent, becomes a double.
Number numberIn(std::string_view text) {
  if (!spellsNumber(text)) throw SqliteError(kBadNumberCode, notTheNumber(text));
  const std::size_t first = text.find_first_not_of(" +");
  text = text.substr(first, text.find_last_not_of(' ') + 1 - first);
  sqlite3_int64 whole = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), whole);
  if (error == std::errc() && end == text.data() + text.size()) return whole;
  const bool negative = text.front() == '-';
  const std::optional<double> real = nearestDouble(text.substr(negative ? 1 : 0));
  if (!real) failOutOfRange(std::string(text));
  return negative ? -*real : *real;
}

Number numberOf(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      return sqlite3_value_int64(value);
    case SQLITE_FLOAT:
      return sqlite3_value_double(value);
    default:
      return numberIn(textOf(value));
  }
}

constexpr const char* kTooWide = "a whole number of more than 64 bits";

// Returns the number without its fraction. The limits are tested as doubles before the conversion,
// which is undefined outside of them; 2^63 itself is a double, 2^63 - 1 is not. A NaN fails the
// test as well.
sqlite3_int64 cutOf(sqlite3_value* value) {
  constexpr double kEnd = 9223372036854775808.0;
  const Number number = numberOf(value);
  if (const auto* whole = std::get_if<sqlite3_int64>(&number)) return *whole;
  const double real = std::get<double>(number);
  if (!(real >= -kEnd && real < kEnd)) failOutOfRange(kTooWide);
  return static_cast<sqlite3_int64>(real);
}

std::string dateOf(sqlite3_value* value) {
  const std::string text(textOf(value));
  std::optional<std::string> date = storedDate(text);
  if (!date) throw SqliteError(kBadDateCode, "not a date: '" + valueExcerpt(text) + "'");
  return *std::move(date);
}

void dateFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] { resultText(context, dateOf(values[0])); });
}

void monthDateFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] { resultText(context, monthDate(dateOf(values[0])).value()); });
}

// The arguments are a date, a count, and the seconds of the counted unit. A fraction of the count
// is cut.
void addTimeFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] {
    const std::string from = dateOf(values[0]);
    const std::optional<std::string> date =
        movedDate(from, cutOf(values[1]), sqlite3_value_int64(values[2]));
    if (!date) {
      throw SqliteError(kBadDateCode, from + " moved by " + std::string(textOf(values[1])) + " x " +
                                          std::string(textOf(values[2])) +
                                          " seconds is not within the years 1 to 9999");
    }
    resultText(context, *date);
  });
}

// Returns the number that a text spells; SQLite's own reading may miss the nearest double.
void numberFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] {
    const Number number = numberOf(values[0]);
    if (const double* real = std::get_if<double>(&number)) {
      sqlite3_result_double(context, *real);
    } else {
      sqlite3_result_int64(context, std::get<sqlite3_int64>(number));
    }
  });
}

// Returns the whole number that a text spells; a blank text is 0. A value that is a number already
// comes from a column whose declared type SQLite did not enforce; it is cut as by a cast.
void wholeTextFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] {
    if (sqlite3_value_type(values[0]) == SQLITE_TEXT) {
      const std::string_view text = textOf(values[0]);
      if (trimmed(text).empty()) return sqlite3_result_int64(context, 0);
      if (!spellsWholeNumber(text)) throw SqliteError(kBadNumberCode, notTheNumber(text));
    }
    sqlite3_result_int64(context, cutOf(values[0]));
  });
}

// Returns the result of arithmetic with whole numbers. Fails for a decimal, which SQLite makes of a
// result beyond 64 bits.
void wholeFunction(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) != SQLITE_FLOAT) {
    return sqlite3_result_value(context, values[0]);
  }
  guarded(context, [&] { failOutOfRange(kTooWide); });
}

void absFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] {
    const sqlite3_int64 value = cutOf(values[0]);
    // 64 bits have no positive counterpart of their lowest number.
    if (value == std::numeric_limits<sqlite3_int64>::min()) failOutOfRange(kTooWide);
    sqlite3_result_int64(context, std::abs(value));
  });
}

// A sum of whole numbers that is 128 bits wide, so that only the final sum has to be in range and
// not the sums on the way, whose order the engine may choose. SQLite allocates it filled with zeros
// and runs no constructor.
struct WholeSum {
  sqlite3_uint64 low;
  sqlite3_int64 high;
  bool any;

  void add(sqlite3_int64 value) {
    const auto bits = static_cast<sqlite3_uint64>(value);
    low += bits;
    // The carry of the low half, and the sign that extends the value to 128 bits.
    high += (low < bits ? 1 : 0) - (value < 0 ? 1 : 0);
    any = true;
  }
  bool inRange() const { return high == (static_cast<sqlite3_int64>(low) < 0 ? -1 : 0); }
};

void sumStep(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return;
  auto* sum = static_cast<WholeSum*>(sqlite3_aggregate_context(context, sizeof(WholeSum)));
  if (sum == nullptr) return sqlite3_result_error_nomem(context);
  guarded(context, [&] { sum->add(cutOf(values[0])); });
}

// A size of 0 asks for the sum without allocating one: there is none if no row was added, and a sum
// of nothing is NULL.
void sumEnd(sqlite3_context* context) {
  const auto* sum = static_cast<WholeSum*>(sqlite3_aggregate_context(context, 0));
  if (sum == nullptr || !sum->any) return sqlite3_result_null(context);
  guarded(context, [&] {
    if (!sum->inRange()) failOutOfRange(kTooWide);
    sqlite3_result_int64(context, static_cast<sqlite3_int64>(sum->low));
  });
}

void cutFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] { sqlite3_result_int64(context, cutOf(values[0])); });
}

// Writes a decimal without an exponent and without zeros at its end, to the digits that are
// certain. A text that is no number stays as it is: it comes from a column whose declared type
// SQLite did not enforce.
void textFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  const int type = sqlite3_value_numeric_type(values[0]);
  if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) {
    return sqlite3_result_value(context, values[0]);
  }
  guarded(context, [&] {
    const double value = sqlite3_value_double(values[0]);
    if (!std::isfinite(value)) failOutOfRange("a decimal that has become infinite");
    resultText(context, plainText(value));
  });
}

// Returns the characters from the first position on that lie within the text; positions count
// from 1. A start before the text uses up a part of the length.
void substringFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  guarded(context, [&] {
    const std::string_view text = textOf(values[0]);
    // Positions are limited to values beyond any text, so that their sum cannot overflow.
    constexpr sqlite3_int64 kFar = 1'000'000'000;
    const sqlite3_int64 from = std::clamp(sqlite3_value_int64(values[1]), -kFar, kFar);
    const sqlite3_int64 length =
        count > 2 ? std::min(sqlite3_value_int64(values[2]), kFar) : 2 * kFar + 1;
    if (length < 0) throw std::runtime_error("the length of a substring must not be negative");
    std::size_t begin = 0;
    sqlite3_int64 position = 1;
    for (; position < from && begin < text.size(); ++position)
      begin += characterLength(text, begin);
    std::size_t end = begin;
    for (; position < from + length && end < text.size(); ++position) {
      end += characterLength(text, end);
    }
    resultText(context, std::string(text.substr(begin, end - begin)));
  });
}

void mapCase(sqlite3_context* context, sqlite3_value* value,
             const std::function<std::string(std::string_view)>& mapping) {
  guarded(context, [&] {
    if (!mapping) throw std::runtime_error("no case mapping is set up for this connection");
    resultText(context, mapping(textOf(value)));
  });
}

void upperFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  mapCase(context, values[0], settingsOf(context).upper);
}

void lowerFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  mapCase(context, values[0], settingsOf(context).lower);
}

void resultLike(sqlite3_context* context, std::string_view text, std::string_view pattern,
                LikeSets sets, sqlite3_value* escape) {
  guarded(context, [&] {
    std::optional<char32_t> escapeCharacter;
    if (escape != nullptr) {
      const auto character = codePointAt(textOf(escape), 0);
      if (!character || character->length != textOf(escape).size()) {
        throw std::runtime_error("ESCAPE takes one character");
      }
      escapeCharacter = character->value;
    }
    if (pattern.size() > kLongestLikePattern && characterCount(pattern) > kLongestLikePattern) {
      throw std::runtime_error(kLikePatternTooLong);
    }
    const bool found = likeMatches(text, pattern, sets, escapeCharacter, settingsOf(context).stop);
    sqlite3_result_int(context, found ? 1 : 0);
  });
}

// SQLite rewrites X LIKE Y to like(Y, X), so the pattern is the first argument.
void likeFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  resultLike(context, textOf(values[1]), textOf(values[0]), LikeSets::Off,
             count > 2 ? values[2] : nullptr);
}

void likeWithSetsFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  if (anyNull(count, values)) return sqlite3_result_null(context);
  resultLike(context, textOf(values[0]), textOf(values[1]), LikeSets::On,
             count > 2 ? values[2] : nullptr);
}

void destroySettings(void* settings) {
  const std::unique_ptr<GuardSettings> owner(static_cast<GuardSettings*>(settings));
}

using SqliteFunction = void (*)(sqlite3_context*, int, sqlite3_value**);

void registerFunction(sqlite3* db, const char* name, int arguments, SqliteFunction function,
                      const GuardSettings& settings) {
  auto owned = std::make_unique<GuardSettings>(settings);
  // SQLite destroys the copy when the connection closes or registers the name again, and also if
  // this call fails. Each function has its own copy, since SQLite destroys one for each.
  const int result =
      sqlite3_create_function_v2(db, name, arguments, kFunctionFlags, owned.release(), function,
                                 nullptr, nullptr, destroySettings);
  if (result != SQLITE_OK) throw SqliteError(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
}

void registerSum(sqlite3* db) {
  const int result = sqlite3_create_function_v2(db, "qx_sum", 1, kFunctionFlags, nullptr, nullptr,
                                                sumStep, sumEnd, nullptr);
  if (result != SQLITE_OK) throw SqliteError(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
}

}  // namespace

void registerLike(sqlite3* db, const GuardSettings& settings) {
  registerFunction(db, "like", 2, likeFunction, settings);
  registerFunction(db, "like", 3, likeFunction, settings);
}

bool mayCallOwnFunctions(std::string_view text) { return text.find("qx_") != text.npos; }

void registerOwnFunctions(sqlite3* db, const GuardSettings& settings) {
  registerFunction(db, "qx_now", 0, nowFunction, settings);
  registerFunction(db, "qx_date", 1, dateFunction, settings);
  registerFunction(db, "qx_month_date", 1, monthDateFunction, settings);
  registerFunction(db, "qx_add_time", 3, addTimeFunction, settings);
  registerSum(db);
  registerFunction(db, "qx_abs", 1, absFunction, settings);
  registerFunction(db, "qx_cut", 1, cutFunction, settings);
  registerFunction(db, "qx_whole", 1, wholeFunction, settings);
  registerFunction(db, "qx_number", 1, numberFunction, settings);
  registerFunction(db, "qx_whole_text", 1, wholeTextFunction, settings);
  registerFunction(db, "qx_substring", 2, substringFunction, settings);
  registerFunction(db, "qx_substring", 3, substringFunction, settings);
  registerFunction(db, "qx_text", 1, textFunction, settings);
  registerFunction(db, "qx_upper", 1, upperFunction, settings);
  registerFunction(db, "qx_lower", 1, lowerFunction, settings);
  registerFunction(db, "qx_like", 2, likeWithSetsFunction, settings);
  registerFunction(db, "qx_like", 3, likeWithSetsFunction, settings);
}

bool isAllowedFunction(std::string_view name) {
  return std::any_of(std::begin(kAllowedFunctions), std::end(kAllowedFunctions),
                     [name](std::string_view allowed) { return sameName(allowed, name); });
}

}  // namespace qx::sql
