// The shared object from outside: its exports and its version block.

#include "qxdesk/screens/objects/test_support.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/os/version_info.h"

#include <dlfcn.h>

namespace qx::screens {
namespace {

class Library : public testing::Test {
 protected:
  using Entry = HRESULT (*)(REFCLSID, REFIID, void**);

  template <class Interface>
  HRESULT create(REFCLSID clsid, Interface** out) {
    const auto entry = reinterpret_cast<Entry>(dlsym(library_, "DllGetClassObject"));
    if (entry == nullptr) return E_FAIL;
    CComPtr<IClassFactory> factory;
    const HRESULT result = entry(clsid, IClassFactory::kIid, reinterpret_cast<void**>(&factory.p));
    if (result < 0) return result;
    return factory->CreateInstance(nullptr, Interface::kIid, reinterpret_cast<void**>(out));
  }

  void* library_ = dlopen(QX_DESK_LIBRARY, RTLD_NOW | RTLD_LOCAL);
};

TEST_F(Library, MakesTheEntryObjectAndTheGate) {
  ASSERT_NE(library_, nullptr) << dlerror();
  CComPtr<IHalvexGuiApi> api;
  ASSERT_EQ(create(CLSID_HalvexGuiApi, &api), S_OK);
  ASSERT_EQ(api->Connect(u"embedded:?db=a&appid=3"), 0);
  EXPECT_EQ(api->GetApplication(-1)->GetAppId(), 3);
  CComPtr<desk::ICallGate> gate;
  ASSERT_EQ(create(desk::kScreensGateClass, &gate), S_OK);
  gate->RefuseCall(1, E_ACCESSDENIED);
  EXPECT_EQ(raisedBy([&] { api->GetApplication(-1); }), E_ACCESSDENIED);
  CComPtr<IUnknown> none;
  EXPECT_EQ(create(CLSID_HalvexCompany, &none), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(Library, ExportsOnlyItsEntry) {
  ASSERT_NE(library_, nullptr) << dlerror();
  EXPECT_NE(dlsym(library_, "DllGetClassObject"), nullptr);
  EXPECT_EQ(dlsym(library_, "_ZN2qx7screens10makeGuiApiEv"), nullptr);
}

TEST_F(Library, HasTheVersionOfTheHost) {
  const auto block = VersionBlock::ofFile(QX_DESK_LIBRARY);
  ASSERT_TRUE(block.has_value());
  EXPECT_EQ(block->query(u"InternalName")->text, u"HalvexUICOM.dll");
  EXPECT_EQ(block->query(u"FileVersion")->text, u"9.20.00.01");
}

}  // namespace
}  // namespace qx::screens
