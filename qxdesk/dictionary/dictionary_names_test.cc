#include "qxdesk/dictionary/dictionary_names.h"

#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

TEST(DictionaryNames, ConsistOfLettersDigitsAndUnderscores) {
  for (const char* name : {"", "A", "z_9", "_", "0"}) {
    EXPECT_EQ(failureOf([&] { checkName(name); }), "") << name;
  }
  for (const char* name : {"A B", "A-B", "A\"B", "@A", "[A]", "A;", "\xC3\x84"}) {
    EXPECT_EQ(failureOf([&] { checkName(name); }),
              "-2106 The name '" + std::string(name) +
                  "' may hold letters A to Z, digits and underscores only.");
  }
}

TEST(DictionaryNames, AStoredNameThatTheCompanyWouldNotWriteIsRefusedWithItsTable) {
  EXPECT_EQ(failureOf([] { checkStoredName("A_1", 3, "CUFD"); }), "");
  for (const char* name : {"", "A_12", "A]", "A\"", "@A", "A;"}) {
    EXPECT_EQ(failureOf([&] { checkStoredName(name, 3, "CUFD"); }),
              "-2000 The dictionary table CUFD holds the name '" + std::string(name) +
                  "', which no company gives; nothing was done with it. Have the row corrected by "
                  "the administrator of the database, or restore a backup.");
  }
  const std::string words =
      failureOf([] { checkStoredName(std::string(1000, 'x'), 20, "HVUTAB"); });
  EXPECT_EQ(words, "-2000 The dictionary table HVUTAB holds the name '" + std::string(100, 'x') +
                       "...', which no company gives; nothing was done with it. Have the row "
                       "corrected by the administrator of the database, or restore a backup.");
}

TEST(DictionaryNames, ADescriptionHasAtMostThirtyUnits) {
  EXPECT_EQ(failureOf([] { checkDescription(std::string(30, 'x')); }), "");
  const std::string long31(31, 'x');
  EXPECT_EQ(failureOf([&] { checkDescription(long31); }),
            "-2106 The description '" + long31 + "' is longer than 30 characters.");
  std::string wide;
  for (int i = 0; i < 15; ++i) wide += "\xF0\x9F\x98\x80";
  EXPECT_EQ(failureOf([&] { checkDescription(wide); }), "");
  EXPECT_NE(failureOf([&] { checkDescription(wide + "x"); }), "");
}

TEST(DictionaryNames, OneSignIsTakenFromTheNameOfAUserTable) {
  EXPECT_EQ(bareTableName("@QX"), "QX");
  EXPECT_EQ(bareTableName("QX"), "QX");
  EXPECT_EQ(bareTableName("@@QX"), "@QX");
  EXPECT_EQ(bareTableName(""), "");
}

}  // namespace
}  // namespace qx::desk
