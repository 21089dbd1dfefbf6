#include "qxframework/automation/user_locale.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>

namespace qx {
namespace {

constexpr LCID kUserDefault = 1024;
constexpr LCID kEnglishUnitedStates = 1033;

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};
using CollatorPtr = std::unique_ptr<UCollator, CloseCollator>;

std::string localeName(LCID locale) {
  if (locale == kUserDefault || locale == 0) return userLocaleName();
  char name[ULOC_FULLNAME_CAPACITY] = "";
  UErrorCode status = U_ZERO_ERROR;
  uloc_getLocaleForLCID(locale, name, ULOC_FULLNAME_CAPACITY, &status);
  return U_SUCCESS(status) ? name : "";
}

CollatorPtr openCollator(LCID locale, bool ignoreCase) {
  UErrorCode status = U_ZERO_ERROR;
  CollatorPtr collator(ucol_open(localeName(locale).c_str(), &status));
  if (collator == nullptr) return collator;
  ucol_setAttribute(collator.get(), UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
  ucol_setAttribute(collator.get(), UCOL_STRENGTH, ignoreCase ? UCOL_SECONDARY : UCOL_TERTIARY,
                    &status);
  return collator;
}

/// The collators opened so far. They are never changed once they are here, so that any number of
/// threads may compare by them.
class Collators {
 public:
  static Collators& instance() {
    static auto* collators = new Collators;  // outlives the comparisons of static objects
    return *collators;
  }

  const UCollator* get(LCID locale, bool ignoreCase) {
    const auto key = std::pair(locale, ignoreCase);
    {
      const std::shared_lock lock(mutex_);
      const auto found = opened_.find(key);
      if (found != opened_.end()) return found->second.get();
    }
    CollatorPtr collator = openCollator(locale, ignoreCase);
    const std::unique_lock lock(mutex_);
    return opened_.try_emplace(key, std::move(collator)).first->second.get();
  }

 private:
  std::shared_mutex mutex_;
  std::map<std::pair<LCID, bool>, CollatorPtr> opened_;
};

/// The collator of a locale; the two usual ones without a lock.
const UCollator* collatorFor(LCID locale, bool ignoreCase) {
  if (!ignoreCase && locale == kUserDefault) {
    static const UCollator* user = Collators::instance().get(kUserDefault, false);
    return user;
  }
  return Collators::instance().get(locale, ignoreCase);
}

char16_t numberSign(const UNumberFormat* format, UNumberFormatSymbol symbol, char16_t fallback) {
  UChar text[8] = {};
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = unum_getSymbol(format, symbol, text, 8, &status);
  return U_SUCCESS(status) && length == 1 ? text[0] : fallback;
}

NumberSigns readNumberSigns(LCID locale) {
  NumberSigns signs;
  UErrorCode status = U_ZERO_ERROR;
  UNumberFormat* format =
      unum_open(UNUM_DECIMAL, nullptr, 0, localeName(locale).c_str(), nullptr, &status);
  if (U_SUCCESS(status)) {
    signs.decimal = numberSign(format, UNUM_DECIMAL_SEPARATOR_SYMBOL, signs.decimal);
    signs.group = numberSign(format, UNUM_GROUPING_SEPARATOR_SYMBOL, signs.group);
  }
  unum_close(format);
  return signs;
}

}  // namespace

int collate(std::u16string_view a, std::u16string_view b, LCID locale, bool ignoreCase) {
  if (a == b) return 0;
  const UCollator* collator = collatorFor(locale, ignoreCase);
  if (collator == nullptr) return a.compare(b);
  return ucol_strcoll(collator, a.data(), static_cast<int32_t>(a.size()), b.data(),
                      static_cast<int32_t>(b.size()));
}

bool isPlainText(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char16_t unit) { return unit >= u' ' && unit <= u'~'; });
}

NumberSigns numberSigns(LCID locale) {
  if (locale == kEnglishUnitedStates) return NumberSigns{};
  if (locale != kUserDefault) return readNumberSigns(locale);
  static const NumberSigns user = readNumberSigns(kUserDefault);
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
    name.resize(std::min(name.size(), name.find_first_of(".@")));
    return name == "C" || name == "POSIX" ? "" : name;
  }
  return "";
}

}  // namespace qx
