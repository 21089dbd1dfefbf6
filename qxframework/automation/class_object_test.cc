#include "qxframework/automation/class_object.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/test_component.h"
#include "qxframework/automation/text.h"
#include "testing/registry_in_use.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

namespace {

using qx::test::IGreeter;
using qx::test::kGreeterClass;
using qx::test::kRefusedClass;

std::u16string g_traced;

/// Greets with the text that it is made with.
class Local final : public qx::ComObject<IGreeter> {
 public:
  explicit Local(std::u16string text) : text_(std::move(text)) {}
  HRESULT Greet(BSTR* out) override { return qx::giveText(text_, out); }

 private:
  std::u16string text_;
};

CComPtr<IClassFactory> factoryOf(std::u16string text) {
  return qx::makeFactory([text = std::move(text)] { return qx::makeObject<Local>(text); });
}

/// A factory that cannot make its object.
class Failing final : public qx::ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown*, REFIID, void**) override { return E_ACCESSDENIED; }
  HRESULT LockServer(int) override { return S_OK; }
};

/// Returns the greeting of a new object; "<failed>" if there is none.
std::u16string greeting(REFCLSID clsid = kGreeterClass) {
  CComPtr<IGreeter> greeter;
  const HRESULT result = qx::createInstance(clsid, CLSCTX_ALL, &greeter.p);
  if (result < 0) return u"<failed>";
  CComBSTR text;
  greeter->Greet(&text);
  return std::u16string(text.View());
}

/// Returns the result code of an activation.
HRESULT code(REFCLSID clsid) {
  CComPtr<IGreeter> greeter;
  return qx::createInstance(clsid, CLSCTX_ALL, &greeter.p);
}

/// Provides each test with its own registry file in a new folder.
class Activation : public testing::Test {
 protected:
  void SetUp() override {
    g_traced.clear();
    qx::setDeveloperTraceSink([](std::u16string_view text) { g_traced += text; });
    registered("");
  }
  void TearDown() override {
    qx::setDeveloperTraceSink(nullptr);
    for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
  }

  /// Replaces the registry.
  void registered(const std::string& text) {
    folder_.write("registry.toml", text);
    qx::resetActivation();
  }
  static std::string serverEntry(REFCLSID clsid, const std::string& path) {
    return "['HKEY_CLASSES_ROOT\\CLSID\\" + qx::toUtf8(qx::guidText(clsid)) +
           "\\InprocServer32']\n'' = '" + path + "'\n";
  }
  DWORD registerLocal(const CComPtr<IClassFactory>& factory) {
    DWORD cookie = 0;
    EXPECT_EQ(CoRegisterClassObject(kGreeterClass, factory.p, CLSCTX_INPROC_SERVER, 0, &cookie),
              S_OK);
    cookies_.push_back(cookie);
    return cookie;
  }

  qx::test::TempFolder folder_;
  qx::test::RegistryInUse registry_{folder_.path() / "registry.toml"};
  std::vector<DWORD> cookies_;
};

TEST_F(Activation, AnUnknownClassIsNotRegistered) {
  EXPECT_EQ(code(kGreeterClass), REGDB_E_CLASSNOTREG);
}

TEST_F(Activation, LoadsTheLibraryThatTheRegistryNames) {
  registered(serverEntry(kGreeterClass, QX_TEST_COMPONENT));
  EXPECT_EQ(greeting(), u"hello from the library");
  EXPECT_EQ(greeting(), u"hello from the library");
}

TEST_F(Activation, ARelativePathIsRelativeToTheRegistryFile) {
  std::filesystem::create_symlink(QX_TEST_COMPONENT, folder_.path() / "component.so");
  registered(serverEntry(kGreeterClass, "component.so"));
  EXPECT_EQ(greeting(), u"hello from the library");
}

TEST_F(Activation, AMissingLibraryIsReportedToTheDeveloperTrace) {
  registered(serverEntry(kGreeterClass, "no-such-library.so"));
  EXPECT_EQ(code(kGreeterClass), CO_E_DLLNOTFOUND);
  EXPECT_NE(g_traced.find(qx::guidText(kGreeterClass)), std::u16string::npos);
  EXPECT_NE(g_traced.find(u"no-such-library.so"), std::u16string::npos);
  EXPECT_EQ(g_traced.back(), u'\n');
}

TEST_F(Activation, ALibraryThatOthersCanReplaceDoesNotLoad) {
  const std::filesystem::path library = folder_.path() / "component.so";
  std::filesystem::copy_file(QX_TEST_COMPONENT, library);
  std::filesystem::permissions(library, std::filesystem::perms::others_write,
                               std::filesystem::perm_options::add);
  registered(serverEntry(kGreeterClass, "component.so"));
  EXPECT_EQ(code(kGreeterClass), CO_E_DLLNOTFOUND);
  EXPECT_NE(g_traced.find(u"component.so: other users can write to it"), std::u16string::npos);
  std::filesystem::permissions(library, std::filesystem::perms::others_write,
                               std::filesystem::perm_options::remove);
  EXPECT_EQ(greeting(), u"hello from the library");
}

TEST_F(Activation, AFileThatIsNoLibraryDoesNotLoad) {
  folder_.write("text.so", "not a library");
  registered(serverEntry(kGreeterClass, "text.so"));
  EXPECT_EQ(code(kGreeterClass), CO_E_DLLNOTFOUND);
  EXPECT_NE(g_traced.find(u"text.so"), std::u16string::npos);
}

TEST_F(Activation, ALibraryWithoutTheEntryDoesNotLoad) {
  registered(serverEntry(kGreeterClass, QX_TEST_EMPTY_COMPONENT));
  EXPECT_EQ(code(kGreeterClass), CO_E_DLLNOTFOUND);
  EXPECT_NE(g_traced.find(u"DllGetClassObject"), std::u16string::npos);
}

TEST_F(Activation, ReturnsTheRefusalOfTheLibrary) {
  registered(serverEntry(kRefusedClass, QX_TEST_COMPONENT));
  EXPECT_EQ(code(kRefusedClass), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(Activation, AFailureIsNotRemembered) {
  registered(serverEntry(kGreeterClass, "component.so"));
  EXPECT_EQ(code(kGreeterClass), CO_E_DLLNOTFOUND);
  std::filesystem::create_symlink(QX_TEST_COMPONENT, folder_.path() / "component.so");
  EXPECT_EQ(greeting(), u"hello from the library");
}

TEST_F(Activation, ALoadedFactoryIsKeptUntilTheReset) {
  registered(serverEntry(kGreeterClass, QX_TEST_COMPONENT));
  EXPECT_EQ(greeting(), u"hello from the library");
  folder_.write("registry.toml", "");
  EXPECT_EQ(greeting(), u"hello from the library");
  qx::resetActivation();
  EXPECT_EQ(code(kGreeterClass), REGDB_E_CLASSNOTREG);
}

TEST_F(Activation, ARegisteredFactoryTakesPrecedenceOverTheRegistry) {
  registered(serverEntry(kGreeterClass, QX_TEST_COMPONENT));
  EXPECT_EQ(greeting(), u"hello from the library");
  const DWORD cookie = registerLocal(factoryOf(u"local"));
  EXPECT_EQ(greeting(), u"local");
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(greeting(), u"hello from the library");
}

TEST_F(Activation, TheLaterOfTwoRegisteredFactoriesTakesPrecedence) {
  registerLocal(factoryOf(u"first"));
  const DWORD second = registerLocal(factoryOf(u"second"));
  EXPECT_EQ(greeting(), u"second");
  CoRevokeClassObject(second);
  EXPECT_EQ(greeting(), u"first");
}

TEST_F(Activation, OtherRegisteredClassesDoNotHideOneThatIsLoaded) {
  registered(serverEntry(kGreeterClass, QX_TEST_COMPONENT));
  const CComPtr<IClassFactory> other = factoryOf(u"other");
  for (std::uint32_t i = 0; i < 200; ++i) {
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(CLSID{i, 0, 0, {}}, other.p, 0, 0, &cookie), S_OK);
    cookies_.push_back(cookie);
  }
  EXPECT_EQ(greeting(), u"hello from the library");
  EXPECT_EQ(greeting(CLSID{199, 0, 0, {}}), u"other");
  EXPECT_EQ(code(CLSID{200, 0, 0, {}}), REGDB_E_CLASSNOTREG);
}

TEST_F(Activation, RevokingReleasesTheFactoryAndWorksOnce) {
  const CComPtr<IClassFactory> factory = factoryOf(u"x");
  const DWORD cookie = registerLocal(factory);
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(factory.p->AddRef(), 2U);
  factory.p->Release();
  EXPECT_EQ(CoRevokeClassObject(cookie), E_INVALIDARG);
}

TEST_F(Activation, TheResetKeepsRegisteredFactories) {
  registerLocal(factoryOf(u"local"));
  qx::resetActivation();
  EXPECT_EQ(greeting(), u"local");
}

TEST_F(Activation, ReturnsTheFailureOfTheFactory) {
  registerLocal(CComPtr<IClassFactory>(qx::makeObject<Failing>().p));
  EXPECT_EQ(code(kGreeterClass), E_ACCESSDENIED);
}

TEST_F(Activation, TurnsAnExceptionOfTheFactoryIntoItsCode) {
  registerLocal(qx::makeFactory([]() -> CComPtr<Local> { qx::raiseError(E_ABORT); }));
  EXPECT_EQ(code(kGreeterClass), E_ABORT);
}

TEST_F(Activation, RefusesAnInterfaceThatTheObjectDoesNotHave) {
  registerLocal(factoryOf(u"x"));
  CComPtr<IClassFactory> wrong;
  EXPECT_EQ(qx::createInstance(kGreeterClass, CLSCTX_ALL, &wrong.p), E_NOINTERFACE);
  EXPECT_TRUE(!wrong);
}

TEST_F(Activation, OurFactoriesDoNotAggregate) {
  registerLocal(factoryOf(u"x"));
  const CComPtr<IClassFactory> outer = factoryOf(u"outer");
  void* object = nullptr;
  EXPECT_EQ(CoCreateInstance(kGreeterClass, outer.p, CLSCTX_ALL, IGreeter::kIid, &object),
            CLASS_E_NOAGGREGATION);
}

TEST_F(Activation, OnlyAFactoryCanBeRegistered) {
  const CComPtr<Local> noFactory = qx::makeObject<Local>(u"x");
  DWORD cookie = 7;
  EXPECT_EQ(CoRegisterClassObject(kGreeterClass, noFactory.p, 0, 0, &cookie), E_NOINTERFACE);
  EXPECT_EQ(cookie, 0U);
  EXPECT_EQ(CoRegisterClassObject(kGreeterClass, nullptr, 0, 0, &cookie), E_POINTER);
}

TEST_F(Activation, AFactoryMayMakeInstancesItself) {
  DWORD cookie = 0;
  registerLocal(factoryOf(u"inner"));
  const CComPtr<IClassFactory> nested =
      qx::makeFactory([] { return qx::makeObject<Local>(u"around " + greeting()); });
  ASSERT_EQ(CoRegisterClassObject(kRefusedClass, nested.p, 0, 0, &cookie), S_OK);
  cookies_.push_back(cookie);
  EXPECT_EQ(greeting(kRefusedClass), u"around inner");
}

TEST_F(Activation, ThreadsMayCreateWhileOthersRegister) {
  registered(serverEntry(kGreeterClass, QX_TEST_COMPONENT));
  const CComPtr<IClassFactory> local = factoryOf(u"local");
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&wrong] {
      for (int round = 0; round < 500; ++round)
        if (greeting() == u"<failed>") ++wrong;
    });
  for (int round = 0; round < 200; ++round) {
    DWORD cookie = 0;
    CoRegisterClassObject(kGreeterClass, local.p, 0, 0, &cookie);
    CoRevokeClassObject(cookie);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Activation, AProgramIdNamesItsClass) {
  registered("['HKEY_CLASSES_ROOT\\Halvex.Greeter\\CLSID']\n'' = '" +
             qx::toUtf8(qx::guidText(kGreeterClass)) + "'\n" +
             "['HKEY_CLASSES_ROOT\\Broken\\CLSID']\n'' = 'no id'\n");
  CLSID found{};
  EXPECT_EQ(CLSIDFromProgID(u"Halvex.Greeter", &found), S_OK);
  EXPECT_EQ(found, kGreeterClass);
  EXPECT_EQ(CLSIDFromProgID(u"Unknown", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(found, CLSID{});
  EXPECT_EQ(CLSIDFromProgID(u"Broken", &found), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromProgID(nullptr, &found), E_POINTER);
}

TEST(Initialize, CountsByThread) {
  EXPECT_EQ(CoInitialize(nullptr), S_OK);
  EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
  std::thread([] {
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    CoUninitialize();
  }).join();
  CoUninitialize();
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(CoInitialize(nullptr), S_OK);
  CoUninitialize();
}

}  // namespace
