#include "qxframework/foundation/languages.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace std::string_literals;

TEST(Languages, EveryLanguageHasNameCodeAndId) {
  EXPECT_EQ(qx::languageName(ln_German), u"ln_German"s);
  EXPECT_EQ(qx::isoLanguageCode(ln_German), u"DE"s);
  EXPECT_EQ(qx::windowsLanguageId(ln_German), 1031);
  EXPECT_EQ(qx::isoLanguageCode(ln_Spanish_La), u"ESCO"s);
  EXPECT_EQ(qx::isoLanguageCode(ln_Portuguese_Br), u"PTBR"s);
  EXPECT_EQ(qx::isoLanguageCode(ln_TrdtnlChinese_Hk), u"ZHTW"s);
}

TEST(Languages, SerbianAndTurkishHaveNamesButReadEnglishResources) {
  EXPECT_EQ(qx::languageName(ln_Serbian), u"ln_Serbian"s);
  EXPECT_EQ(qx::isoLanguageCode(ln_Serbian), u"SR"s);
  EXPECT_EQ(qx::windowsLanguageId(ln_Serbian), 1033);
  EXPECT_EQ(qx::languageName(ln_Turkish_Tr), u"ln_Turkish_Tr"s);
  EXPECT_EQ(qx::isoLanguageCode(ln_Turkish_Tr), u"EN"s);
  EXPECT_EQ(qx::windowsLanguageId(ln_Turkish_Tr), 1033);
}

TEST(Languages, TheSpanishOfThreeRegionsShareAnId) {
  for (const HvLanguages language : {ln_Spanish_Ar, ln_Spanish_Pa, ln_Spanish_La})
    EXPECT_EQ(qx::windowsLanguageId(language), 9226);
  EXPECT_EQ(qx::windowsLanguageId(ln_Spanish), 3082);
}

TEST(Languages, AnyOtherValueIsUnknownAndReadsEnglish) {
  for (const int value : {0, 4, 32, 34, 36, -1}) {
    const auto language = static_cast<HvLanguages>(value);
    EXPECT_EQ(qx::languageName(language), u"UNKNOWN"s);
    EXPECT_EQ(qx::isoLanguageCode(language), u"EN"s);
    EXPECT_EQ(qx::windowsLanguageId(language), 1033);
  }
}

TEST(Languages, TwentyFiveLanguageIdsAreInUse) {
  std::set<unsigned short> ids;
  for (int value = 1; value <= 35; ++value)
    ids.insert(qx::windowsLanguageId(static_cast<HvLanguages>(value)));
  EXPECT_EQ(ids.size(), 25U);
}

}  // namespace
