// Versions of modules and of the host's libraries.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/type_info.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/ids.h"
#include "qxframework/os/test_support.h"
#include "qxframework/util/qx_util.h"
#include "testing/fake_type_library.h"
#include "testing/recording_logger.h"
#include "testing/registry_in_use.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QxUtilFileVersion : public ::testing::Test {
 protected:
  // Returns the version of the module in `file`, or "failed".
  std::u16string versionOf(const char* file) {
    const qx::LoadedModule loaded(file);
    path = qx::toUtf16(file);
    const HINSTANCE module = GetModuleHandleW(path.c_str());
    EXPECT_NE(module, nullptr);
    OLECHAR buffer[100] = u"before";
    const long hr = CQXUtil::GetFileVersionForModule(7, buffer, 100, module);
    EXPECT_TRUE(hr == S_OK || (hr == E_FAIL && buffer[0] == 0));
    return hr == S_OK ? buffer : u"failed";
  }

  std::u16string path;
  RecordingLogger logger;
};

TEST_F(QxUtilFileVersion, AFixOfOneCharacterIsTheLastPart) {
  EXPECT_EQ(versionOf(QX_UTIL_FIX7), u"9.20.00.01.7");
  EXPECT_THAT(logger.messagesOf(u"CQXUtil::GetFileVersionForModule"),
              ElementsAre(u"Checking version info for module " + path + u" ",
                          u"version info for module " + path + u" is 9.20.00.01.7"));
  EXPECT_TRUE(logger.has(6, u"Checking version info for module " + path + u" "));
}

TEST_F(QxUtilFileVersion, ALongerFixCountsAsNone) {
  EXPECT_EQ(versionOf(QX_UTIL_FIX12), u"9.20.00.01.00");
}

TEST_F(QxUtilFileVersion, FifteenCharactersAreTheLongestVersion) {
  EXPECT_EQ(versionOf(QX_UTIL_LONGEST), u"10.200.300.4000.00");
}

TEST_F(QxUtilFileVersion, ALongerVersionIsAFailure) {
  EXPECT_EQ(versionOf(QX_UTIL_TOO_LONG), u"failed");
  EXPECT_TRUE(logger.has(1, u"Failed to get version info for module " + path));
}

TEST_F(QxUtilFileVersion, WithoutAFileVersionItIsAFailure) {
  EXPECT_EQ(versionOf(QX_UTIL_NO_VERSION), u"failed");
}

TEST_F(QxUtilFileVersion, WithoutAVersionBlockItIsAFailure) {
  EXPECT_EQ(versionOf(QX_UTIL_PLAIN), u"failed");
  EXPECT_TRUE(logger.has(1, u"Failed to get version info for module " + path));
}

TEST_F(QxUtilFileVersion, OfAModuleThatIsNotLoadedItIsAFailure) {
  HINSTANCE module = nullptr;
  {
    const qx::LoadedModule loaded(QX_UTIL_FIX7);
    module = GetModuleHandleW(u"QXFix7.dll");
  }
  OLECHAR buffer[100] = u"before";
  EXPECT_EQ(CQXUtil::GetFileVersionForModule(7, buffer, 100, module), E_FAIL);
  EXPECT_EQ(buffer[0], 0);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get module name"));
}

TEST_F(QxUtilFileVersion, ABufferThatIsTooSmallIsAFailure) {
  OLECHAR buffer[13] = u"before";
  EXPECT_EQ(CQXUtil::GetFileVersion(7, buffer, 13), E_FAIL);
  EXPECT_EQ(buffer[0], 0);
  OLECHAR enough[14] = {};
  EXPECT_EQ(CQXUtil::GetFileVersion(7, enough, 14), S_OK);
  EXPECT_EQ(qx::viewOf(enough), u"9.20.00.01.00");
}

TEST_F(QxUtilFileVersion, GetFileVersionIsThatOfTheFramework) {
  OLECHAR buffer[100];
  EXPECT_EQ(CQXUtil::GetFileVersion(7, buffer, 100), S_OK);
  EXPECT_EQ(qx::viewOf(buffer), u"9.20.00.01.00");
  EXPECT_EQ(logger.records.front().function, u"CQXUtil::GetFileVersion");
}

constexpr char16_t kFix7Line[] =
    u"Version='9.20.00.01';CustomerFix=7;Support Package=SP1;Patch Level=PL2;"
    u"InternalName=QXFix7.dll;ProductVersion=9.20;Internal Build Number=4711;EF=3;"
    u"PrivateBuild=private;SpecialBuild=special";

TEST(QxUtilVersionInfo, AllTextsStandOnOneLine) {
  EXPECT_EQ(CQXUtil::GetVersionInfoFromResource(qx::toUtf16(QX_UTIL_FIX7)).View(), kFix7Line);
}

TEST(QxUtilVersionInfo, OfALoadedModuleIsThatOfTheCodeThatRuns) {
  const TempFolder folder;
  const std::filesystem::path file = folder.path() / "module.so";
  std::filesystem::copy_file(QX_UTIL_FIX7, file);
  const qx::LoadedModule loaded(file.string());
  // As an update replaces the file: the loaded module keeps the former one.
  std::filesystem::remove(file);
  std::filesystem::copy_file(QX_UTIL_NO_VERSION, file);
  EXPECT_EQ(CQXUtil::GetVersionInfoFromResource(qx::toUtf16(file.string())).View(), kFix7Line);
}

TEST(QxUtilVersionInfo, QuotesAroundThePathAreDropped) {
  EXPECT_EQ(CQXUtil::GetVersionInfoFromResource(u"\"" + qx::toUtf16(QX_UTIL_FIX7) + u"\"").View(),
            kFix7Line);
}

TEST(QxUtilVersionInfo, WithoutAFileVersionTheLineBeginsWithTheFirstTag) {
  EXPECT_EQ(CQXUtil::GetVersionInfoFromResource(qx::toUtf16(QX_UTIL_NO_VERSION)).View(),
            u";InternalName=QXNoVersion.dll");
}

TEST(QxUtilVersionInfo, WhatIsNoModuleWithAVersionGivesAnEmptyLine) {
  for (const char16_t* path : {u"", u"\"", u"\"\"", u"\"x\"", u"/nowhere/at/all.so"})
    EXPECT_TRUE(CQXUtil::GetVersionInfoFromResource(path).IsEmpty()) << qx::toUtf8(path);
  EXPECT_TRUE(CQXUtil::GetVersionInfoFromResource(qx::toUtf16(QX_UTIL_PLAIN)).IsEmpty());
}

class FakeObject final : public qx::NoDispatch<qx::ComObject<IDispatch>> {
 public:
  explicit FakeObject(qx::test::FakeLibrary& library) : library_(library) {}
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** out) override { return library_.giveTypeInfo(out); }

 private:
  qx::test::FakeLibrary& library_;
};

constexpr char kRegistry[] =
    "[\"HKEY_CLASSES_ROOT\\\\HalvexRXCOM.Company\\\\CLSID\"]\n\"\" = \"%s\"\n"
    "[\"HKEY_CLASSES_ROOT\\\\CLSID\\\\%s\\\\InprocServer32\"]\n\"\" = \"/lib/inproc.so\"\n"
    "[\"HKEY_CLASSES_ROOT\\\\CLSID\\\\%l\\\\LocalServer32\"]\n\"\" = \"/bin/local\"\n";
constexpr GUID kLocalClass = qx::hostId(0x7001);
constexpr GUID kUnknownClass = qx::hostId(0x7002);

class QxUtilLibraryVersion : public ::testing::Test {
 protected:
  ~QxUtilLibraryVersion() override {
    for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
  }
  void install(REFCLSID clsid) {
    const auto factory = qx::makeFactory([this] { return qx::makeObject<FakeObject>(library); });
    cookies_.emplace_back();
    CoRegisterClassObject(clsid, factory, CLSCTX_SERVER, 0, &cookies_.back());
  }

  qx::test::FakeLibrary library;
  RecordingLogger logger;
  CComBSTR version{u"before"};

 private:
  static std::string registryText() {
    std::string text = kRegistry;
    const auto put = [&text](std::string_view mark, const GUID& id) {
      for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark))
        text.replace(at, mark.size(), qx::toUtf8(qx::guidText(id)));
    };
    put("%s", CLSID_HalvexCompany);
    put("%l", kLocalClass);
    return text;
  }

  TempFolder folder_;
  qx::test::RegistryInUse registry_{folder_.write("registry.toml", registryText())};
  std::vector<DWORD> cookies_;
};

TEST_F(QxUtilLibraryVersion, OfTheUiLibraryIsThatOfItsTypeLibrary) {
  install(CLSID_HalvexGuiApi);
  EXPECT_EQ(CQXUtil::GetHVXVersion(7, version), S_OK);
  EXPECT_EQ(version.View(), u"9.20");
  EXPECT_EQ(library.heldAttributes, 0);
  EXPECT_EQ(logger.records.front().function, u"CQXUtil::GetHVXVersion");
}

TEST_F(QxUtilLibraryVersion, WithoutTheUiLibraryThereIsNone) {
  EXPECT_EQ(CQXUtil::GetHVXVersion(7, version), REGDB_E_CLASSNOTREG);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to create instance of UI API"));
}

TEST_F(QxUtilLibraryVersion, AUiLibraryWithoutTypeInformationHasNone) {
  install(CLSID_HalvexGuiApi);
  library.hasTypeInfo = false;
  EXPECT_EQ(CQXUtil::GetHVXVersion(7, version), E_FAIL);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get type info of UI API"));
}

TEST_F(QxUtilLibraryVersion, AUiLibraryWithoutATypeLibraryHasNoneAndNothingIsSaid) {
  install(CLSID_HalvexGuiApi);
  library.hasTypeLib = false;
  EXPECT_EQ(CQXUtil::GetHVXVersion(7, version), E_NOINTERFACE);
  EXPECT_THAT(logger.messages(1), IsEmpty());
}

TEST_F(QxUtilLibraryVersion, OfTheRxApiGoesByTheProgId) {
  install(CLSID_HalvexCompany);
  EXPECT_EQ(CQXUtil::GetRXAPIVersion(7, version), S_OK);
  EXPECT_EQ(version.View(), u"9.20");
  EXPECT_EQ(logger.records.front().function, u"CQXUtil::GetRXAPIVersion");
}

TEST_F(QxUtilLibraryVersion, OfTheRxApiIsClearedFirst) {
  EXPECT_LT(CQXUtil::GetRXAPIVersion(7, version), 0);
  EXPECT_TRUE(version.IsEmpty());
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to create instance of RX API"));
}

TEST_F(QxUtilLibraryVersion, AnRxApiWithoutTypeInformationHasNone) {
  install(CLSID_HalvexCompany);
  library.hasTypeInfo = false;
  EXPECT_EQ(CQXUtil::GetRXAPIVersion(7, version), E_FAIL);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get type info of RX API"));
}

TEST_F(QxUtilLibraryVersion, OfAClassComesWithoutALog) {
  install(kUnknownClass);
  EXPECT_EQ(CQXUtil::GetCOMObjectVersion(kUnknownClass).View(), u"9.20");
  EXPECT_EQ(library.heldAttributes, 0);
  library.hasTypeInfo = false;
  EXPECT_TRUE(CQXUtil::GetCOMObjectVersion(kUnknownClass).IsEmpty());
  EXPECT_TRUE(CQXUtil::GetCOMObjectVersion(kLocalClass).IsEmpty());
  EXPECT_THAT(logger.records, IsEmpty());
}

TEST_F(QxUtilLibraryVersion, ThePathOfAClassIsThatOfItsServer) {
  EXPECT_EQ(CQXUtil::GetCOMObjectPath(CLSID_HalvexCompany).View(), u"/lib/inproc.so");
  EXPECT_EQ(CQXUtil::GetCOMObjectPath(kLocalClass).View(), u"/bin/local");
  EXPECT_TRUE(CQXUtil::GetCOMObjectPath(kUnknownClass).IsEmpty());
}

}  // namespace
