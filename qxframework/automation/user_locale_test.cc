#include "qxframework/automation/user_locale.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// What compares or orders texts in any test rests on this. CTest sees to it.
TEST(UserLocale, OfATestRunIsThatOfNoCountry) {
  EXPECT_EQ(qx::userLocaleName(), "") << "run the tests by ctest, or with LC_ALL=C.UTF-8";
}

TEST(UserLocale, IsTheFirstVariableThatSaysSomething) {
  EXPECT_EQ(qx::localeNameFrom("de_DE.UTF-8", "sv_SE", "en_US"), "de_DE");
  EXPECT_EQ(qx::localeNameFrom("", "sv_SE.UTF-8@x", "en_US"), "sv_SE");
  EXPECT_EQ(qx::localeNameFrom(nullptr, nullptr, "en_US.UTF-8"), "en_US");
  EXPECT_EQ(qx::localeNameFrom(nullptr, "", nullptr), "");
}

TEST(UserLocale, ThePlainLocaleIsTheRoot) {
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

TEST(Collate, OrdersInTheUsersLocaleToo) {
  EXPECT_LT(qx::collate(u"a", u"b", 1024, false), 0);
  EXPECT_GT(qx::collate(u"b", u"A", 1024, false), 0);
  EXPECT_EQ(qx::collate(u"Name", u"NAME", 1024, true), 0);
  EXPECT_NE(qx::collate(u"Name", u"NAME", 1024, false), 0);
  EXPECT_EQ(qx::collate({}, u"", 1024, false), 0);
}

TEST(Collate, AnUnknownLocaleTakesTheRootOrder) {
  EXPECT_LT(qx::collate(u"a", u"B", 0x7777, false), 0);
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
