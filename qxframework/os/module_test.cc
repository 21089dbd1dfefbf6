#include "qxframework/os/module.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/resources.h"
#include "qxframework/os/test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

namespace qx {
namespace {

/// Returns the name that GetModuleFileNameW() writes into a buffer of `size` units.
std::u16string fileNameOf(HINSTANCE module, DWORD size, DWORD& result) {
  std::u16string buffer(size + 1, u'#');
  result = GetModuleFileNameW(module, buffer.data(), size);
  EXPECT_EQ(buffer.back(), u'#') << "written past the end of the buffer";
  return std::u16string(buffer.c_str());
}

std::u16string executablePath() {
  return toUtf16(std::filesystem::read_symlink("/proc/self/exe").string());
}

TEST(Module, NullNameIsTheExecutable) {
  ASSERT_NE(GetModuleHandleW(nullptr), nullptr);
  EXPECT_EQ(modulePath(GetModuleHandleW(nullptr)), executablePath());
  EXPECT_EQ(modulePath(nullptr), executablePath());
}

TEST(Module, IsFoundByItsInternalNameWithoutCase) {
  const LoadedModule fixture(QX_OS_FIXTURE);
  const HINSTANCE found = GetModuleHandleW(u"qxfixture.DLL");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(modulePath(found), toUtf16(QX_OS_FIXTURE));
  EXPECT_EQ(GetModuleHandleW(u"QXOsTest.exe"), GetModuleHandleW(nullptr));
}

TEST(Module, IsFoundByFileNameAndPath) {
  const LoadedModule plain(QX_OS_PLAIN_FIXTURE);
  const std::filesystem::path path = QX_OS_PLAIN_FIXTURE;
  const HINSTANCE found = GetModuleHandleW(toUtf16(path.string()).c_str());
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(GetModuleHandleW(toUtf16(path.filename().string()).c_str()), found);
}

TEST(Module, IsFoundByExactlyItsPath) {
  const std::filesystem::path path = QX_OS_PLAIN_FIXTURE;
  EXPECT_EQ(moduleAt(toUtf16(path.string())), nullptr);
  const LoadedModule plain(QX_OS_PLAIN_FIXTURE);
  EXPECT_EQ(moduleAt(toUtf16(path.string())), moduleOf(plain.symbol("qxFixtureAnswer")));
  EXPECT_EQ(moduleAt(toUtf16(path.filename().string())), nullptr);
  EXPECT_EQ(moduleAt(u""), nullptr);
}

TEST(Module, AnUnknownNameReturnsNull) {
  EXPECT_EQ(GetModuleHandleW(u"QXMissing.dll"), nullptr);
  EXPECT_EQ(GetModuleHandleW(u""), nullptr);
}

TEST(Module, HandleOfAnUnloadedModuleReturnsNothing) {
  LoadedModule fixture(QX_OS_FIXTURE);
  const HINSTANCE handle = GetModuleHandleW(u"QXFixture.dll");
  ASSERT_NE(handle, nullptr);
  fixture.unload();
  EXPECT_EQ(GetModuleHandleW(u"QXFixture.dll"), nullptr);
  EXPECT_EQ(modulePath(handle), u"");
  EXPECT_EQ(findString(handle, 1, 1033), std::nullopt);
  EXPECT_EQ(FindResourceExW(handle, 23, 200, 0), nullptr);
}

TEST(Module, HandleIsTheSameAfterLoadingOthers) {
  const LoadedModule fixture(QX_OS_FIXTURE);
  const HINSTANCE handle = GetModuleHandleW(u"QXFixture.dll");
  const LoadedModule plain(QX_OS_PLAIN_FIXTURE);
  EXPECT_EQ(GetModuleHandleW(u"QXFixture.dll"), handle);
}

TEST(Module, LoadedByARelativePathHasAFullPath) {
  const std::filesystem::path path = QX_OS_PLAIN_FIXTURE;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(path.parent_path());
  const LoadedModule plain("./" + path.filename().string());
  std::filesystem::current_path(before);
  EXPECT_EQ(modulePath(moduleOf(plain.symbol("qxFixtureAnswer"))), toUtf16(path.string()));
}

TEST(Module, IsFoundByAnAddressInIt) {
  const LoadedModule fixture(QX_OS_FIXTURE);
  EXPECT_EQ(moduleOf(fixture.symbol("qxFixtureAnswer")), GetModuleHandleW(u"QXFixture.dll"));
  static const int kOwn = 1;
  EXPECT_EQ(moduleOf(&kOwn), GetModuleHandleW(nullptr));
  EXPECT_EQ(moduleOf(nullptr), nullptr);
}

TEST(ModuleFileName, ReturnsTheLengthWithoutTheTerminator) {
  DWORD result = 0;
  EXPECT_EQ(fileNameOf(nullptr, 1024, result), executablePath());
  EXPECT_EQ(result, executablePath().size());
}

TEST(ModuleFileName, FitsABufferOfExactlyItsSize) {
  const auto length = static_cast<DWORD>(executablePath().size());
  DWORD result = 0;
  EXPECT_EQ(fileNameOf(nullptr, length + 1, result), executablePath());
  EXPECT_EQ(result, length);
}

TEST(ModuleFileName, IsCutAndTerminatedWhenItDoesNotFit) {
  const auto length = static_cast<DWORD>(executablePath().size());
  DWORD result = 0;
  EXPECT_EQ(fileNameOf(nullptr, length, result), executablePath().substr(0, length - 1));
  EXPECT_EQ(result, length);
}

TEST(ModuleFileName, IsRefusedWithoutABufferOrAModule) {
  std::array<OLECHAR, 4> buffer{};
  EXPECT_EQ(GetModuleFileNameW(nullptr, nullptr, 4), 0U);
  EXPECT_EQ(GetModuleFileNameW(nullptr, buffer.data(), 0), 0U);
  LoadedModule fixture(QX_OS_FIXTURE);
  const HINSTANCE handle = GetModuleHandleW(u"QXFixture.dll");
  fixture.unload();
  EXPECT_EQ(GetModuleFileNameW(handle, buffer.data(), 4), 0U);
}

}  // namespace
}  // namespace qx
