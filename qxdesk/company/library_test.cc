// The shared object as an add-on uses it: by its entry and its version block.

#include "qxdesk/company/test_support.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/os/version_info.h"

#include <dlfcn.h>

namespace qx::desk {
namespace {

class LibraryTest : public testing::Test {
 protected:
  using Entry = HRESULT (*)(REFCLSID, REFIID, void**);

  LibraryTest() : library(dlopen(QX_COMPANY_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library, nullptr) << dlerror();
    entry = reinterpret_cast<Entry>(dlsym(library, "DllGetClassObject"));
  }
  template <class Interface>
  CComPtr<Interface> create(REFCLSID clsid) {
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(entry(clsid, IClassFactory::kIid, reinterpret_cast<void**>(&factory.p)), S_OK);
    CComPtr<Interface> object;
    EXPECT_EQ(
        factory->CreateInstance(nullptr, Interface::kIid, reinterpret_cast<void**>(&object.p)),
        S_OK);
    return object;
  }

  void* library;
  Entry entry = nullptr;
  test::TempFolder folder;
};

TEST_F(LibraryTest, MakesACompanyThatConnects) {
  const auto company = create<ICompany>(CLSID_HalvexCompany);
  const CComBSTR cookie = company->GetContextCookie();
  const LoginTarget target{folder.file("c.db"), kMssql, ln_English, u"", u"Demo"};
  company->PutLoginContext(CComBSTR(encodeLoginContext(target, cookie.View())));
  ASSERT_EQ(company->Connect(), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"Demo");
}

TEST_F(LibraryTest, ReportsErrorsInTheSentencesOfItsOwnResources) {
  const auto company = create<ICompany>(CLSID_HalvexCompany);
  company->PutLanguage(ln_German);
  EXPECT_NE(company->Connect(), 0);
  EXPECT_TRUE(lastError(company).text.starts_with(u"Es ist keine Firma zum Verbinden bekannt."));
  const CComBSTR cookie = company->GetContextCookie();
  EXPECT_NE(company->raw_PutLoginContext(cookie), S_OK);
  company->PutLanguage(ln_English);
  EXPECT_NE(company->raw_StartTransaction(), S_OK);
  EXPECT_EQ(lastError(company).text, u"The company is not connected. Call Connect first.");
}

TEST_F(LibraryTest, HasItsOwnCallGate) {
  const auto gate = create<ICallGate>(kCompanyGateClass);
  const auto company = create<ICompany>(CLSID_HalvexCompany);
  gate->RefuseCall(2, E_ABORT);
  VARIANT_BOOL connected = VARIANT_TRUE;
  EXPECT_EQ(company->raw_GetConnected(&connected), S_OK);
  EXPECT_EQ(company->raw_GetConnected(&connected), E_ABORT);
  long calls = 0;
  EXPECT_EQ(gate->GetCallCount(&calls), S_OK);
  EXPECT_EQ(calls, 2);
  gate->RefuseCall(0, S_OK);
}

TEST_F(LibraryTest, RefusesOtherClasses) {
  void* object = this;
  EXPECT_EQ(entry(CLSID_HalvexGuiApi, IClassFactory::kIid, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(entry(CLSID_HalvexCompany, IClassFactory::kIid, nullptr), E_POINTER);
}

TEST_F(LibraryTest, ExportsItsEntryOnly) {
  EXPECT_NE(dlsym(library, "DllGetClassObject"), nullptr);
  for (const char* name : {"SysAllocString", "CoCreateInstance", "VariantClear"}) {
    // The search may end in the test program or in a library that this one needs; only a symbol of
    // this library itself would be wrong.
    Dl_info place{};
    void* symbol = dlsym(library, name);
    EXPECT_TRUE(symbol == nullptr || dladdr(symbol, &place) == 0 ||
                std::string_view(place.dli_fname) != QX_COMPANY_LIBRARY)
        << name;
  }
}

TEST_F(LibraryTest, CarriesItsVersion) {
  const std::optional<VersionBlock> block = VersionBlock::ofFile(QX_COMPANY_LIBRARY);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->query(u"FileVersion")->text, u"9.20.00.01");
  EXPECT_EQ(block->query(u"InternalName")->text, u"HalvexRXCOM.dll");
}

}  // namespace
}  // namespace qx::desk
