#include "qxframework/automation/user_locale.h"

#include "qxframework/automation/ascii.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>
#include <unicode/uset.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <shared_mutex>

namespace qx {
namespace {

constexpr LCID kEnglishUnitedStates = 1033;

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};
using CollatorPtr = std::unique_ptr<UCollator, CloseCollator>;

// An unknown id has an empty name, that of the root locale.
std::string localeName(LCID locale) {
  if (locale == LOCALE_USER_DEFAULT || locale == 0) return userLocaleName();
  char name[ULOC_FULLNAME_CAPACITY] = "";
  UErrorCode status = U_ZERO_ERROR;
  uloc_getLocaleForLCID(locale, name, ULOC_FULLNAME_CAPACITY, &status);
  return U_SUCCESS(status) ? name : "";
}

// True if the text consists of the blank and the visible characters of ASCII.
bool isPlainText(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char16_t unit) { return unit >= u' ' && unit <= u'~'; });
}

// The order of plain texts as a table, which is much faster than the collator. It applies to
// locales that do not tailor a plain character, alone or in a group. They have the root's order for
// plain texts: first by the characters one after the other without case, then by length, then by
// the first letter that differs in case.
class PlainOrder {
 public:
  // True if the locale of `collator` orders plain texts as the root locale does.
  static bool appliesTo(const UCollator* collator) {
    UErrorCode status = U_ZERO_ERROR;
    // The set of all characters and groups that the locale orders in a different way than the root.
    USet* const own = ucol_getTailoredSet(collator, &status);
    bool plain = U_SUCCESS(status) != 0;
    for (int32_t i = 0; plain && i < uset_getItemCount(own); ++i) plain = !isPlainItem(own, i);
    uset_close(own);
    return plain;
  }

  PlainOrder(const UCollator* collator, bool ignoreCase) : ignoreCase_(ignoreCase) {
    // The ranks are read from the collator and not written down here, so they follow its version.
    std::array<char16_t, kLast - kFirst + 1> signs;
    std::iota(signs.begin(), signs.end(), kFirst);
    std::sort(signs.begin(), signs.end(), [&](const char16_t& a, const char16_t& b) {
      return ucol_strcoll(collator, &a, 1, &b, 1) < 0;
    });
    for (std::size_t i = 0; i < signs.size(); ++i)
      ranks_[signs[i]] = static_cast<unsigned char>(i + 1);
  }

  // Compares two plain texts.
  int compare(std::u16string_view a, std::u16string_view b) const {
    int byCase = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
      if (a[i] == b[i]) continue;
      const int order = ranks_[toLowerAscii(a[i])] - ranks_[toLowerAscii(b[i])];
      if (order != 0) return order;
      // A difference in case decides only if nothing after it differs.
      if (byCase == 0) byCase = ranks_[a[i]] - ranks_[b[i]];
    }
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return ignoreCase_ ? 0 : byCase;
  }

 private:
  static constexpr char16_t kFirst = u' ';
  static constexpr char16_t kLast = u'~';

  // True if an item of the set, a range of characters or a group, touches plain texts. A group that
  // does not fit into the buffer counts as one, which only costs speed.
  static bool isPlainItem(const USet* set, int32_t index) {
    std::array<UChar, 64> text;
    UChar32 first = 0;
    UChar32 last = 0;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = uset_getItem(set, index, &first, &last, text.data(),
                                        static_cast<int32_t>(text.size()), &status);
    if (length == 0) return first <= kLast && last >= kFirst;
    return U_FAILURE(status) != 0 || isPlainText({text.data(), static_cast<std::size_t>(length)});
  }

  std::array<unsigned char, kLast + 1> ranks_{};
  bool ignoreCase_;
};

// The order of a locale. `plain` is empty if the table does not apply; a null collator means that
// ICU has no data, and texts compare by unit then.
struct Order {
  CollatorPtr collator;
  std::optional<PlainOrder> plain;
};

Order openOrder(LCID locale, bool ignoreCase) {
  UErrorCode status = U_ZERO_ERROR;
  Order order{CollatorPtr(ucol_open(localeName(locale).c_str(), &status)), std::nullopt};
  UCollator* const collator = order.collator.get();
  if (collator == nullptr) return order;
  // Punctuation counts like any other character, in all locales.
  ucol_setAttribute(collator, UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
  ucol_setAttribute(collator, UCOL_STRENGTH, UCOL_TERTIARY, &status);
  // Before the strength is lowered: the ranks must differ for upper and lower case.
  if (PlainOrder::appliesTo(collator)) order.plain.emplace(collator, ignoreCase);
  if (ignoreCase) ucol_setAttribute(collator, UCOL_STRENGTH, UCOL_SECONDARY, &status);
  return order;
}

// The orders that were opened so far. An order never changes once it is in the map, and a map does
// not move its entries, so any number of threads may compare by them without a lock.
class Orders {
 public:
  static Orders& instance() {
    static auto* orders = new Orders;  // never destroyed: static objects may still compare texts
    return *orders;
  }

  const Order& get(LCID locale, bool ignoreCase) {
    const auto key = std::pair(locale, ignoreCase);
    {
      const std::shared_lock lock(mutex_);
      const auto found = opened_.find(key);
      if (found != opened_.end()) return found->second;
    }
    // Opened outside the lock, since it takes long. If two threads open the same order, the first
    // one is kept.
    Order order = openOrder(locale, ignoreCase);
    const std::unique_lock lock(mutex_);
    return opened_.try_emplace(key, std::move(order)).first->second;
  }

 private:
  std::shared_mutex mutex_;
  std::map<std::pair<LCID, bool>, Order> opened_;
};

// Returns the order of a locale. Almost all comparisons use the user's; it costs no lock.
const Order& orderOf(LCID locale, bool ignoreCase) {
  if (!ignoreCase && locale == LOCALE_USER_DEFAULT) {
    static const Order& user = Orders::instance().get(LOCALE_USER_DEFAULT, false);
    return user;
  }
  return Orders::instance().get(locale, ignoreCase);
}

// The check reads a whole text, the collator only its beginning, so the check must not cost more.
bool isShortAndPlain(std::u16string_view text) {
  constexpr std::size_t kLongest = 64;
  return text.size() <= kLongest && isPlainText(text);
}

// Returns a separator; `fallback` if it does not fit into one unit.
char16_t numberSign(const UNumberFormat* format, UNumberFormatSymbol symbol, char16_t fallback) {
  UChar text[8] = {};
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = unum_getSymbol(format, symbol, text, 8, &status);
  return U_SUCCESS(status) && length == 1 ? text[0] : fallback;
}

// Reads the sign of the local currency. ICU gives the general currency sign for a locale without a
// country; `currency` is unchanged then.
void readCurrency(const UNumberFormat* format, std::array<char16_t, 6>& currency) {
  constexpr UChar kNoCurrency = 0xA4;
  UChar text[16] = {};
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = unum_getSymbol(format, UNUM_CURRENCY_SYMBOL, text, 16, &status);
  if (U_SUCCESS(status) && text[0] == kNoCurrency) return;
  currency = {};
  // The last place remains for the zero.
  if (U_SUCCESS(status) && length < static_cast<int32_t>(currency.size()))
    std::copy_n(text, length, currency.begin());
}

NumberSigns readNumberSigns(LCID locale) {
  NumberSigns signs;
  UErrorCode status = U_ZERO_ERROR;
  UNumberFormat* format =
      unum_open(UNUM_DECIMAL, nullptr, 0, localeName(locale).c_str(), nullptr, &status);
  if (U_SUCCESS(status)) {
    signs.decimal = numberSign(format, UNUM_DECIMAL_SEPARATOR_SYMBOL, signs.decimal);
    signs.group = numberSign(format, UNUM_GROUPING_SEPARATOR_SYMBOL, signs.group);
    readCurrency(format, signs.currency);
  }
  unum_close(format);
  return signs;
}

}  // namespace

int collate(std::u16string_view a, std::u16string_view b, LCID locale, bool ignoreCase) {
  // Equal units are equal in every order; look-ups by name mostly compare equal texts.
  if (a == b) return 0;
  const Order& order = orderOf(locale, ignoreCase);
  if (order.plain && isShortAndPlain(a) && isShortAndPlain(b)) return order.plain->compare(a, b);
  if (order.collator == nullptr) return a.compare(b);
  return ucol_strcoll(order.collator.get(), a.data(), static_cast<int32_t>(a.size()), b.data(),
                      static_cast<int32_t>(b.size()));
}

NumberSigns numberSigns(LCID locale) {
  // Opening a format takes long: English has the defaults, and the user's locale is read once.
  if (locale == kEnglishUnitedStates) return NumberSigns{};
  if (locale != LOCALE_USER_DEFAULT) return readNumberSigns(locale);
  static const NumberSigns user = readNumberSigns(LOCALE_USER_DEFAULT);
  return user;
}

const std::string& userLocaleName() {
  static const auto* name = new std::string(
      localeNameFrom(std::getenv("LC_ALL"), std::getenv("LC_COLLATE"), std::getenv("LANG")));
  return *name;
}

std::string localeNameFrom(const char* all, const char* collation, const char* language) {
  for (const char* value : {all, collation, language}) {
    if (value == nullptr || *value == 0) continue;
    std::string name(value);
    // "de_DE.UTF-8@euro": the encoding and the variant do not matter for the order.
    name.resize(std::min(name.size(), name.find_first_of(".@")));
    return name == "C" || name == "POSIX" ? "" : name;
  }
  return "";
}

}  // namespace qx
