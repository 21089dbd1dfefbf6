#include "qxframework/os/version_info.h"

#include "qxframework/os/test_support.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace qx {
namespace {

void expectFixture(const std::optional<VersionBlock>& block) {
  ASSERT_TRUE(block);
  EXPECT_EQ(block->translation(), (VersionBlock::Translation{1031, 1252}));
  EXPECT_EQ(block->query(u"FileVersion"), (VersionBlock::Value{u"9.20.00.01", 11}));
  EXPECT_EQ(block->query(u"Support Package"), (VersionBlock::Value{u"PL ü", 5}));
}

TEST(VersionBlock, IsReadFromAFileThatIsNotLoaded) {
  expectFixture(VersionBlock::ofFile(QX_OS_FIXTURE));
  EXPECT_EQ(GetModuleHandleW(u"QXFixture.dll"), nullptr);
}

TEST(VersionBlock, IsReadFromAStrippedFile) {
  expectFixture(VersionBlock::ofFile(QX_OS_STRIPPED_FIXTURE));
}

TEST(VersionBlock, IsReadFromALoadedModule) {
  const LoadedModule fixture(QX_OS_FIXTURE);
  expectFixture(VersionBlock::ofModule(GetModuleHandleW(u"QXFixture.dll")));
}

TEST(VersionBlock, OfTheExecutableIsReadFromMemoryAndFromItsFile) {
  const auto own = VersionBlock::ofModule(nullptr);
  ASSERT_TRUE(own);
  EXPECT_EQ(own->query(u"InternalName"), (VersionBlock::Value{u"QXOsTest.exe", 13}));
  const auto ofFile = VersionBlock::ofFile("/proc/self/exe");
  ASSERT_TRUE(ofFile);
  EXPECT_EQ(ofFile->translation(), (VersionBlock::Translation{1033, 1200}));
}

TEST(VersionBlock, LengthCountsTheTerminator) {
  const auto block = VersionBlock::ofFile(QX_OS_FIXTURE);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->query(u"CustomerFix"), (VersionBlock::Value{u"7", 2}));
  EXPECT_EQ(block->query(u"EF"), (VersionBlock::Value{u"", 1}));
}

TEST(VersionBlock, KeysAreComparedWithoutCase) {
  const auto block = VersionBlock::ofFile(QX_OS_FIXTURE);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->query(u"fileversion"), (VersionBlock::Value{u"9.20.00.01", 11}));
}

TEST(VersionBlock, MissingKeyReturnsNothing) {
  const auto block = VersionBlock::ofFile(QX_OS_FIXTURE);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->query(u"SpecialBuild"), std::nullopt);
  EXPECT_EQ(block->query(u""), std::nullopt);
  EXPECT_EQ(block->query({}), std::nullopt) << "a null text";
}

TEST(VersionBlock, IsMissingInAFileThatIsNoModule) {
  const test::TempFolder folder;
  const std::filesystem::path text = folder.path() / "text";
  std::ofstream(text) << "no module";
  EXPECT_FALSE(VersionBlock::ofFile(text));
  EXPECT_FALSE(VersionBlock::ofFile(folder.path()));
  EXPECT_FALSE(VersionBlock::ofFile(folder.path() / "none"));
  EXPECT_FALSE(VersionBlock::ofFile(""));
  EXPECT_FALSE(VersionBlock::ofFile("/dev/null"));
}

TEST(VersionBlock, IsMissingInAModuleWithoutResources) {
  EXPECT_FALSE(VersionBlock::ofFile(QX_OS_PLAIN_FIXTURE));
  const LoadedModule plain(QX_OS_PLAIN_FIXTURE);
  EXPECT_FALSE(VersionBlock::ofModule(moduleOf(plain.symbol("qxFixtureAnswer"))));
}

}  // namespace
}  // namespace qx
