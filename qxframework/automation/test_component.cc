// A component library for the activation tests. It implements one class and refuses all others.

#include "qxframework/automation/test_component.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"

namespace {

class Greeter final : public qx::ComObject<qx::test::IGreeter> {
 public:
  HRESULT Greet(BSTR* out) override {
    return qx::guarded([&] { return qx::giveText(u"hello from the library", out); });
  }
};

}  // namespace

extern "C" QX_API HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  *object = nullptr;
  if (clsid != qx::test::kGreeterClass) return CLASS_E_CLASSNOTAVAILABLE;
  return qx::guarded([&] {
    return qx::makeFactory([] { return qx::makeObject<Greeter>(); })->QueryInterface(iid, object);
  });
}
