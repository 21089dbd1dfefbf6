#include "qxframework/os/resources.h"

#include "qxframework/os/test_support.h"
#include "testing/scoped_variable.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qx {
namespace {

class Resources : public testing::TestWithParam<const char*> {
 protected:
  Resources() : fixture_(GetParam()), module_(moduleOf(fixture_.symbol("qxFixtureAnswer"))) {}

  std::string content(HRSRC resource) const {
    const HGLOBAL loaded = LoadResource(module_, resource);
    if (loaded == nullptr) return "not loaded";
    return {static_cast<const char*>(LockResource(loaded)), SizeofResource(module_, resource)};
  }

  LoadedModule fixture_;
  HINSTANCE module_;
  test::ScopedVariable all_{"LC_ALL", nullptr};
  test::ScopedVariable lang_{"LANG", nullptr};
};

INSTANTIATE_TEST_SUITE_P(Fixtures, Resources,
                         testing::Values(QX_OS_FIXTURE, QX_OS_STRIPPED_FIXTURE),
                         [](const auto& instance) {
                           return std::string(instance.index == 0 ? "AsBuilt" : "Stripped");
                         });

TEST_P(Resources, AreFoundByTypeAndNumber) {
  const HRSRC found = FindResourceExW(module_, RT_HTML, 200, 0);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(content(found), "<form/>");
}

TEST_P(Resources, EmptyResourceIsFoundWithSizeZero) {
  const HRSRC found = FindResourceExW(module_, RT_HTML, 201, 0);
  ASSERT_NE(found, nullptr);
  EXPECT_NE(LoadResource(module_, found), nullptr);
  EXPECT_EQ(SizeofResource(module_, found), 0U);
}

TEST_P(Resources, MissingResourceReturnsNull) {
  EXPECT_EQ(FindResourceExW(module_, RT_HTML, 199, 0), nullptr);
  EXPECT_EQ(FindResourceExW(module_, RT_HTML, 202, 0), nullptr);
  EXPECT_EQ(FindResourceExW(module_, 22, 200, 0), nullptr);
  EXPECT_EQ(FindResourceExW(module_, 24, 200, 0), nullptr);
}

TEST_P(Resources, AreFoundByLanguage) {
  EXPECT_EQ(content(FindResourceExW(module_, 10, 5, 1033)), "english");
  EXPECT_EQ(content(FindResourceExW(module_, 10, 5, 1031)), "deutsch");
  EXPECT_EQ(FindResourceExW(module_, 10, 5, 1045), nullptr);
}

TEST_P(Resources, NeutralResourceServesEveryLanguage) {
  EXPECT_EQ(content(FindResourceExW(module_, RT_HTML, 200, 1045)), "<form/>");
}

TEST_P(Resources, NeutralRequestTakesTheUsersLanguageThenTheFirst) {
  EXPECT_EQ(content(FindResourceExW(module_, 10, 5, 0)), "deutsch");
  const test::ScopedVariable english("LC_ALL", "en_US.UTF-8");
  EXPECT_EQ(content(FindResourceExW(module_, 10, 5, 0)), "english");
}

TEST_P(Resources, ResourceOfAnotherModuleIsRefused) {
  const HRSRC found = FindResourceExW(module_, RT_HTML, 200, 0);
  EXPECT_EQ(LoadResource(nullptr, found), nullptr);
  EXPECT_EQ(SizeofResource(nullptr, found), 0U);
  EXPECT_EQ(LoadResource(module_, nullptr), nullptr);
}

TEST_P(Resources, StringIsFoundInItsTable) {
  EXPECT_EQ(findString(module_, 202, 1033), u"Initialization failed");
  EXPECT_EQ(findString(module_, 1, 1031), u"Einverstanden");
  EXPECT_EQ(findString(module_, 70000, 1031), u"weit  ");
  EXPECT_EQ(findString(module_, 3, 1045), u"Tylko tu \U0001F600");
}

TEST_P(Resources, StringOfAnotherLanguageIsNotFound) {
  EXPECT_EQ(findString(module_, 202, 1031), std::nullopt);
  EXPECT_EQ(findString(module_, 1, 1034), std::nullopt);
  EXPECT_EQ(findString(module_, 1, 0), std::nullopt);
}

TEST_P(Resources, EmptyStringIsFound) { EXPECT_EQ(findString(module_, 9, 1033), u""); }

TEST_P(Resources, StringEndsWithATerminator) {
  const auto text = findString(module_, 1, 1033);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->data()[text->size()], 0);
}

TEST_P(Resources, SearchWithoutLanguageTakesTheUsersTable) {
  const test::ScopedVariable polish("LANG", "pl_PL.UTF-8");
  EXPECT_EQ(findStringAnyLanguage(module_, 1), u"Dobrze");
}

TEST_P(Resources, SearchWithoutLanguageTakesTheLanguageOfAnotherCountry) {
  const test::ScopedVariable austria("LANG", "de_AT");
  EXPECT_EQ(findStringAnyLanguage(module_, 1), u"Einverstanden");
  const test::ScopedVariable britain("LANG", "en_GB");
  EXPECT_EQ(findStringAnyLanguage(module_, 1), u"OK");
}

TEST_P(Resources, SearchWithoutLanguageTakesTheFirstTableThatHasTheString) {
  EXPECT_EQ(findStringAnyLanguage(module_, 1), u"Einverstanden");
  EXPECT_EQ(findStringAnyLanguage(module_, 202), u"Initialization failed");
  EXPECT_EQ(findStringAnyLanguage(module_, 3), u"Tylko tu \U0001F600");
  const test::ScopedVariable german("LANG", "de_DE.UTF-8");
  EXPECT_EQ(findStringAnyLanguage(module_, 202), u"Initialization failed");
  EXPECT_EQ(findStringAnyLanguage(module_, 4), std::nullopt);
}

TEST(ResourcesOfTheProgram, ANullModuleIsTheExecutable) {
  EXPECT_EQ(findString(nullptr, 1, 1033), u"the program");
  EXPECT_EQ(findStringAnyLanguage(nullptr, 1), u"the program");
}

TEST(ResourcesOfTheProgram, AModuleWithoutResourcesHasNone) {
  const LoadedModule plain(QX_OS_PLAIN_FIXTURE);
  const HINSTANCE module = moduleOf(plain.symbol("qxFixtureAnswer"));
  EXPECT_EQ(findString(module, 1, 1033), std::nullopt);
  EXPECT_EQ(findStringAnyLanguage(module, 1), std::nullopt);
  EXPECT_EQ(FindResourceExW(module, RT_HTML, 200, 0), nullptr);
}

TEST(UserLanguage, ComesFromLcAllBeforeLang) {
  const test::ScopedVariable lang("LANG", "de_DE.UTF-8");
  const test::ScopedVariable all("LC_ALL", nullptr);
  EXPECT_EQ(userLanguage(), 1031);
  const test::ScopedVariable empty("LC_ALL", "");
  EXPECT_EQ(userLanguage(), 1031);
  const test::ScopedVariable french("LC_ALL", "fr_FR@euro");
  EXPECT_EQ(userLanguage(), 1036);
}

TEST(UserLanguage, IsZeroForTheNeutralLocales) {
  const test::ScopedVariable lang("LANG", nullptr);
  for (const char* name : {"C", "POSIX", "C.UTF-8", ".UTF-8"}) {
    const test::ScopedVariable all("LC_ALL", name);
    EXPECT_EQ(userLanguage(), 0) << name;
  }
  const test::ScopedVariable longName("LC_ALL", std::string(5000, 'x').c_str());
  EXPECT_EQ(userLanguage(), 0);
}

}  // namespace
}  // namespace qx
