#include "qxframework/foundation/languages.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace std::string_literals;

// The numbers of the client are written out: they are on the wire and in installed resources.
TEST(Languages, EveryLanguageHasItsNameCodeAndResourceId) {
  struct Row {
    int language;
    const char16_t* name;
    const char16_t* isoCode;
    unsigned short windowsId;
  };
  constexpr Row kRows[] = {
      {1, u"ln_Hebrew", u"HE", 1037},
      {2, u"ln_Spanish_Ar", u"ES", 9226},
      {3, u"ln_English", u"EN", 1033},
      {5, u"ln_Polish", u"PL", 1045},
      {6, u"ln_English_Sg", u"EN", 2057},
      {7, u"ln_Spanish_Pa", u"ES", 9226},
      {8, u"ln_English_Gb", u"EN", 2057},
      {9, u"ln_German", u"DE", 1031},
      {10, u"ln_Serbian", u"SR", 1033},
      {11, u"ln_Danish", u"DA", 1030},
      {12, u"ln_Norwegian", u"NO", 2068},
      {13, u"ln_Italian", u"IT", 1040},
      {14, u"ln_Hungarian", u"HU", 1038},
      {15, u"ln_Chinese", u"ZH", 2052},
      {16, u"ln_Dutch", u"NL", 1043},
      {17, u"ln_Finnish", u"FI", 1035},
      {18, u"ln_Greek", u"EL", 1032},
      {19, u"ln_Portuguese", u"PT", 2070},
      {20, u"ln_Swedish", u"SV", 1053},
      {21, u"ln_English_Cy", u"EN", 2057},
      {22, u"ln_French_Fr", u"FR", 1036},
      {23, u"ln_Spanish", u"ES", 3082},
      {24, u"ln_Russian", u"RU", 1049},
      {25, u"ln_Spanish_La", u"ESCO", 9226},
      {26, u"ln_Czech_Cz", u"CS", 1029},
      {27, u"ln_Slovak_Sk", u"SK", 1051},
      {28, u"ln_Korean_Kr", u"KO", 1042},
      {29, u"ln_Portuguese_Br", u"PTBR", 1046},
      {30, u"ln_Japanese_Jp", u"JA", 1041},
      {31, u"ln_Turkish_Tr", u"EN", 1033},
      {35, u"ln_TrdtnlChinese_Hk", u"ZHTW", 1028},
  };
  for (const Row& row : kRows) {
    const auto language = static_cast<HvLanguages>(row.language);
    EXPECT_EQ(std::u16string(qx::languageName(language)), row.name) << row.language;
    EXPECT_EQ(std::u16string(qx::isoLanguageCode(language)), row.isoCode) << row.language;
    EXPECT_EQ(qx::windowsLanguageId(language), row.windowsId) << row.language;
  }
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

TEST(Languages, OtherValuesAreUnknownAndReadEnglish) {
  for (const int value : {0, 4, 32, 33, 34, 36, -1}) {
    const auto language = static_cast<HvLanguages>(value);
    EXPECT_EQ(qx::languageName(language), u"UNKNOWN"s);
    EXPECT_EQ(qx::isoLanguageCode(language), u"EN"s);
    EXPECT_EQ(qx::windowsLanguageId(language), 1033);
  }
}

TEST(Languages, LanguagesShareTwentyFiveResourceIds) {
  std::set<unsigned short> ids;
  for (int value = 1; value <= 35; ++value)
    ids.insert(qx::windowsLanguageId(static_cast<HvLanguages>(value)));
  EXPECT_EQ(ids.size(), 25U);
}

}  // namespace
