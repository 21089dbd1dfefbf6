#include "qxframework/automation/registry.h"

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace qx {
namespace {

std::u16string g_trace;

void recordTrace(std::u16string_view text) { g_trace += text; }

class RegistryTest : public testing::Test {
 protected:
  RegistryTest() {
    g_trace.clear();
    setDeveloperTraceSink(recordTrace);
  }
  ~RegistryTest() override { setDeveloperTraceSink(nullptr); }

  Registry read(std::string_view content) const {
    return Registry(folder_.write("r.toml", content));
  }

  /// Returns the problem of a registry with this content, without the folder.
  std::string problem(std::string_view content) const {
    std::string text = read(content).problem();
    const std::string prefix = folder_.path().string() + "/";
    if (text.starts_with(prefix)) text.erase(0, prefix.size());
    return text;
  }

  test::ScopedVariable ownFile_{"QX_REGISTRY", nullptr};
  test::ScopedVariable config_{"XDG_CONFIG_HOME", nullptr};
  test::ScopedVariable home_{"HOME", nullptr};
  test::TempFolder folder_;
};

TEST_F(RegistryTest, ReadsTextsAndDoubleWords) {
  const Registry registry = read(R"(
["HKEY_LOCAL_MACHINE\\Software\\Halvex"]
"" = "default"
Name = "grün"
Level = 4294967295
)");
  const auto text = [&](std::u16string_view name) {
    return registry.readString(HKEY_LOCAL_MACHINE, u"Software\\Halvex", name);
  };
  EXPECT_EQ(text(u""), u"default");
  EXPECT_EQ(text(u"Name"), u"grün");
  EXPECT_EQ(registry.readDword(HKEY_LOCAL_MACHINE, u"Software\\Halvex", u"Level"), 0xFFFFFFFFU);
  EXPECT_EQ(registry.problem(), "");
  EXPECT_EQ(g_trace, u"");
}

TEST_F(RegistryTest, AValueOfTheOtherKindIsNotReturned) {
  const Registry registry = read("['HKEY_CURRENT_USER\\K']\nText = 'x'\nNumber = 1\n");
  EXPECT_EQ(registry.readDword(HKEY_CURRENT_USER, u"K", u"Text"), std::nullopt);
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"K", u"Number"), std::nullopt);
}

TEST_F(RegistryTest, KeysAndNamesAreComparedWithoutCase) {
  const Registry registry = read("['hkey_classes_root\\Clsid\\{ABC}']\nnAmE = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"CLSID\\{abc}", u"Name"), u"x");
}

TEST_F(RegistryTest, ABackslashAtTheEndOfAKeyIsIgnored) {
  const Registry registry = read("['HKEY_CLASSES_ROOT\\A\\']\n'' = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"A\\", u""), u"x");
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"A", u""), u"x");
}

TEST_F(RegistryTest, RootsAreKeptApart) {
  const Registry registry = read("['HKEY_CLASSES_ROOT\\A']\n'' = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"A", u""), std::nullopt);
}

TEST_F(RegistryTest, ARootHasValuesOfItsOwn) {
  const Registry registry = read("[HKEY_CURRENT_USER]\nName = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"", u"Name"), u"x");
}

TEST_F(RegistryTest, NestedTablesAreAKeyToo) {
  const Registry registry = read("[HKEY_CLASSES_ROOT.CLSID.'{ABC}']\nName = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"CLSID\\{ABC}", u"Name"), u"x");
}

TEST_F(RegistryTest, ReturnsNothingForAMissingKeyOrValue) {
  const Registry registry = read("['HKEY_CLASSES_ROOT\\A']\nName = 'x'\n");
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"A", u""), std::nullopt);
  EXPECT_EQ(registry.readString(HKEY_CLASSES_ROOT, u"B", u"Name"), std::nullopt);
}

TEST_F(RegistryTest, ARelativeServerPathIsRelativeToTheFilesFolder) {
  const Registry registry = read(R"(
['HKEY_CLASSES_ROOT\CLSID\{1}\InprocServer32']
'' = '../lib/libqxdesk.so'
ThreadingModel = 'Apartment'
['HKEY_CLASSES_ROOT\CLSID\{2}\inprocserver32']
'' = '/opt/lib.so'
['HKEY_CLASSES_ROOT\CLSID\{3}\LocalServer32']
'' = 'qxdesk'
)");
  const auto text = [&](std::u16string_view key, std::u16string_view name) {
    return registry.readString(HKEY_CLASSES_ROOT, key, name);
  };
  EXPECT_EQ(text(u"CLSID\\{1}\\InprocServer32", u""),
            toUtf16((folder_.path().parent_path() / "lib/libqxdesk.so").string()));
  EXPECT_EQ(text(u"CLSID\\{1}\\InprocServer32", u"ThreadingModel"), u"Apartment");
  EXPECT_EQ(text(u"CLSID\\{2}\\InprocServer32", u""), u"/opt/lib.so");
  EXPECT_EQ(text(u"CLSID\\{3}\\LocalServer32", u""), u"qxdesk");
}

TEST_F(RegistryTest, ReportsBrokenTomlWithItsPositionAndToTheTrace) {
  const std::string text = problem("['HKEY_CURRENT_USER']\nName = \n");
  EXPECT_TRUE(text.starts_with("r.toml:2:")) << text;
  EXPECT_TRUE(text.ends_with("; correct the TOML")) << text;
  EXPECT_EQ(g_trace, toUtf16("registry: " + folder_.path().string() + "/" + text + "\n"));
}

TEST_F(RegistryTest, ReportsAnUnknownRoot) {
  EXPECT_EQ(problem("['HKEY_USERS\\A']\nName = 'x'\n"),
            "r.toml:1:2: 'HKEY_USERS' is not a root key; begin with HKEY_CLASSES_ROOT, "
            "HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE");
}

TEST_F(RegistryTest, ReportsAValueOutsideOfAnyKey) {
  EXPECT_EQ(problem("Name = 'x'\n"),
            "r.toml:1:1: the value is outside of any key; put it below a key such as "
            "[\"HKEY_CLASSES_ROOT\\\\CLSID\"]");
}

TEST_F(RegistryTest, ReportsAValueOfAnotherKindAndKeepsTheRest) {
  const Registry registry = read("[HKEY_CURRENT_USER]\nBad = -1\nGood = 'x'\nWorse = 1.5\n");
  EXPECT_EQ(registry.problem(), (folder_.path() / "r.toml").string() +
                                    ":2:7: the value is neither a text nor a double word; write a "
                                    "text in quotes or an integer from 0 to 4294967295");
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"", u"Good"), u"x");
}

TEST_F(RegistryTest, ReportsAValueThatIsDefinedTwiceAndKeepsTheFirst) {
  const std::string_view twice = "[HKEY_CURRENT_USER]\nNAME = 'x'\nname = 'y'\n";
  EXPECT_EQ(read(twice).readString(HKEY_CURRENT_USER, u"", u"Name"), u"x");
  EXPECT_EQ(
      problem(twice),
      "r.toml:3:1: the value is defined a second time; the first one counts; remove one of the "
      "two");
}

TEST_F(RegistryTest, ReportsAMissingFile) {
  const Registry registry(folder_.path() / "none.toml");
  EXPECT_EQ(registry.problem(), (folder_.path() / "none.toml").string() +
                                    ": there is no such file; create it or set QX_REGISTRY");
}

TEST_F(RegistryTest, ReportsAKeyOfManyLevelsInsteadOfReadingIt) {
  std::string key = "HKEY_CURRENT_USER";
  for (int i = 0; i < 40000; ++i) key += ".a";
  EXPECT_EQ(problem(key + " = 1\n"),
            "r.toml:1:80: the key has more than 32 levels; use fewer dots");
}

TEST_F(RegistryTest, ReportsARelativePathInsteadOfReadingTheFile) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path file = folder_.write("r.toml", "[HKEY_CURRENT_USER]\nName = 'x'\n");
  std::filesystem::current_path(file.parent_path());
  const Registry registry("r.toml");
  std::filesystem::current_path(before);
  EXPECT_EQ(registry.problem(), "r.toml: the path is relative; give the full path");
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"", u"Name"), std::nullopt);
}

TEST_F(RegistryTest, ReportsAFileThatOthersCanWriteInsteadOfReadingIt) {
  const std::filesystem::path file = folder_.write("r.toml", "[HKEY_CURRENT_USER]\nName = 'x'\n");
  std::filesystem::permissions(file, std::filesystem::perms::others_write,
                               std::filesystem::perm_options::add);
  const Registry registry(file);
  EXPECT_EQ(registry.problem(),
            file.string() + ": other users can write to it; take the right from them (chmod go-w)");
  EXPECT_EQ(registry.readString(HKEY_CURRENT_USER, u"", u"Name"), std::nullopt);
}

TEST_F(RegistryTest, ReportsAFileThatIsTooLongInsteadOfReadingIt) {
  EXPECT_EQ(problem("#" + std::string(1 << 20, 'x')),
            "r.toml: it is longer than 1048576 bytes; shorten it");
}

TEST_F(RegistryTest, ARelativeHomeNamesNoFile) {
  folder_.write("home/.config/qxframework/registry.toml", "[HKEY_CURRENT_USER]\nName = 'x'\n");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  setenv("HOME", "home", 1);
  const auto name = Registry::reload().readString(HKEY_CURRENT_USER, u"", u"Name");
  std::filesystem::current_path(before);
  EXPECT_EQ(name, std::nullopt);
}

TEST_F(RegistryTest, TheVariableTakesPrecedenceOverTheUsersFile) {
  folder_.write("config/qxframework/registry.toml", "[HKEY_CURRENT_USER]\nName = 'user'\n");
  setenv("XDG_CONFIG_HOME", (folder_.path() / "config").c_str(), 1);
  const std::filesystem::path own =
      folder_.write("own.toml", "[HKEY_CURRENT_USER]\nName = 'own'\n");
  setenv("QX_REGISTRY", own.c_str(), 1);
  EXPECT_EQ(Registry::reload().file(), own);
  EXPECT_EQ(Registry::current().readString(HKEY_CURRENT_USER, u"", u"Name"), u"own");
}

TEST_F(RegistryTest, TheUsersConfigurationFolderIsNext) {
  folder_.write("config/qxframework/registry.toml", "[HKEY_CURRENT_USER]\nName = 'xdg'\n");
  folder_.write(".config/qxframework/registry.toml", "[HKEY_CURRENT_USER]\nName = 'home'\n");
  setenv("HOME", folder_.path().c_str(), 1);
  EXPECT_EQ(Registry::reload().readString(HKEY_CURRENT_USER, u"", u"Name"), u"home");
  setenv("XDG_CONFIG_HOME", (folder_.path() / "config").c_str(), 1);
  EXPECT_EQ(Registry::reload().readString(HKEY_CURRENT_USER, u"", u"Name"), u"xdg");
}

TEST_F(RegistryTest, IsReadAgainOnlyByReload) {
  const std::filesystem::path own =
      folder_.write("own.toml", "[HKEY_CURRENT_USER]\nName = 'old'\n");
  setenv("QX_REGISTRY", own.c_str(), 1);
  Registry::reload();
  folder_.write("own.toml", "[HKEY_CURRENT_USER]\nName = 'new'\n");
  EXPECT_EQ(Registry::current().readString(HKEY_CURRENT_USER, u"", u"Name"), u"old");
  EXPECT_EQ(Registry::reload().readString(HKEY_CURRENT_USER, u"", u"Name"), u"new");
}

}  // namespace
}  // namespace qx
