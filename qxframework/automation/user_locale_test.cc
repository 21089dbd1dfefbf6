#include "qxframework/automation/user_locale.h"

#include "qxframework/automation/text.h"

#include <gtest/gtest.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <array>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

// Tests that compare or order texts depend on this. CTest sets the environment for it.
TEST(UserLocale, IsTheRootLocaleInATestRun) {
  EXPECT_EQ(qx::userLocaleName(), "") << "run the tests by ctest, or with LC_ALL=C.UTF-8";
}

TEST(UserLocale, IsTheFirstVariableThatIsNotEmpty) {
  EXPECT_EQ(qx::localeNameFrom("de_DE.UTF-8", "sv_SE", "en_US"), "de_DE");
  EXPECT_EQ(qx::localeNameFrom("", "sv_SE.UTF-8@x", "en_US"), "sv_SE");
  EXPECT_EQ(qx::localeNameFrom(nullptr, nullptr, "en_US.UTF-8"), "en_US");
  EXPECT_EQ(qx::localeNameFrom(nullptr, "", nullptr), "");
}

TEST(UserLocale, CAndPosixAreTheRootLocale) {
  EXPECT_EQ(qx::localeNameFrom("C", "sv_SE", nullptr), "");
  EXPECT_EQ(qx::localeNameFrom("C.UTF-8", nullptr, nullptr), "");
  EXPECT_EQ(qx::localeNameFrom(nullptr, nullptr, "POSIX"), "");
}

TEST(UserLocale, NumberSignsAreThoseOfTheLocale) {
  EXPECT_EQ(qx::numberSigns(1033).decimal, u'.');
  EXPECT_EQ(qx::numberSigns(1033).group, u',');
  EXPECT_EQ(qx::numberSigns(1031).decimal, u',');
  EXPECT_EQ(qx::numberSigns(1031).group, u'.');
}

std::u16string currencyOf(LCID locale) { return qx::numberSigns(locale).currency.data(); }

TEST(UserLocale, CurrencySignsAreThoseOfTheLocale) {
  EXPECT_EQ(currencyOf(1033), u"$");
  EXPECT_EQ(currencyOf(1031), u"\u20AC");
  EXPECT_EQ(currencyOf(2057), u"\u00A3") << "English, Great Britain";
  EXPECT_EQ(currencyOf(2055), u"CHF") << "German, Switzerland";
}

TEST(UserLocale, TheRootLocaleHasTheDefaultCurrency) {
  EXPECT_EQ(currencyOf(1024), u"$");
  EXPECT_EQ(currencyOf(0x7777), u"$") << "an unknown locale";
}

TEST(Collate, ANullTextPrecedesAllOthers) {
  EXPECT_LT(qx::collate({}, u"a", 1033, false), 0);
  EXPECT_LT(qx::collate({}, u"\u00E4", 1033, false), 0);
  EXPECT_GT(qx::collate(u"\u00E4", {}, 1033, true), 0);
}

TEST(Collate, OrdersInTheUsersLocaleToo) {
  EXPECT_LT(qx::collate(u"a", u"b", 1024, false), 0);
  EXPECT_GT(qx::collate(u"b", u"A", 1024, false), 0);
  EXPECT_EQ(qx::collate(u"Name", u"NAME", 1024, true), 0);
  EXPECT_NE(qx::collate(u"Name", u"NAME", 1024, false), 0);
  EXPECT_EQ(qx::collate({}, u"", 1024, false), 0);
}

TEST(Collate, AnUnknownLocaleHasTheRootOrder) {
  EXPECT_LT(qx::collate(u"a", u"B", 0x7777, false), 0);
}

int sign(int order) { return (order > 0) - (order < 0); }

/// Compares by ICU alone, without the table for plain texts.
class Reference {
 public:
  Reference(LCID locale, bool ignoreCase) {
    UErrorCode status = U_ZERO_ERROR;
    std::array<char, ULOC_FULLNAME_CAPACITY> name{};
    uloc_getLocaleForLCID(locale, name.data(), ULOC_FULLNAME_CAPACITY, &status);
    collator_ = ucol_open(name.data(), &status);
    ucol_setAttribute(collator_, UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
    ucol_setStrength(collator_, ignoreCase ? UCOL_SECONDARY : UCOL_TERTIARY);
    EXPECT_TRUE(U_SUCCESS(status)) << locale;
  }
  ~Reference() { ucol_close(collator_); }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  int order(const std::u16string& a, const std::u16string& b) const {
    return ucol_strcoll(collator_, a.data(), static_cast<int32_t>(a.size()), b.data(),
                        static_cast<int32_t>(b.size()));
  }

 private:
  UCollator* collator_ = nullptr;
};

/// Returns a text of few letters, so that texts often differ late, in case only or in length. Some
/// texts exceed the length of the table for plain texts, and some contain a character that is not
/// plain.
std::u16string randomText(std::mt19937& random) {
  static constexpr std::u16string_view kSigns = u"aAbBcChHzZjJdDsSlLnN_- .'0189~";
  std::u16string text(random() % 6, u' ');
  if (random() % 20 == 0) text.assign(60 + random() % 8, u'a');
  for (char16_t& unit : text) unit = kSigns[random() % kSigns.size()];
  if (random() % 10 == 0) text += u"\u0301\u00E4\u200D\u00B7"[random() % 4];
  return text;
}

TEST(Collate, OrdersPlainTextsAsTheLibraryDoes) {
  std::mt19937 random(7);
  // Danish, German, English, French, Greek, Hungarian, Russian, Croatian, Turkish, Welsh, Maltese.
  for (const LCID locale :
       {1030U, 1031U, 1033U, 1036U, 1032U, 1038U, 1049U, 1050U, 1055U, 1106U, 1082U}) {
    for (const bool ignoreCase : {false, true}) {
      const Reference reference(locale, ignoreCase);
      for (int i = 0; i < 5000; ++i) {
        const std::u16string a = randomText(random);
        const std::u16string b = randomText(random);
        ASSERT_EQ(sign(qx::collate(a, b, locale, ignoreCase)), sign(reference.order(a, b)))
            << locale << " '" << qx::toUtf8(a) << "' '" << qx::toUtf8(b) << "'";
      }
    }
  }
}

TEST(Collate, ThreadsMayCompareAtOnce) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&wrong] {
      for (LCID locale : {1030U, 1031U, 1033U, 1036U, 1053U})
        for (int round = 0; round < 200; ++round)
          if (qx::collate(u"alpha", u"beta", locale, round % 2 == 0) >= 0) ++wrong;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
