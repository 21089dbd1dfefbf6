#include "qxframework/runtime/internal/framework_texts.h"

#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/application.h"
#include "qxframework/resources/resource_loader.h"

namespace qx {

HINSTANCE frameworkModule() { return GetModuleHandleW(kFrameworkModule); }

// The module is looked up each time: it can be loaded and unloaded with the add-on's own library.
CComBSTR frameworkText(FrameworkText id, HvLanguages language) {
  CQXBSTR text(u"", language);
  CQXResourceLoader(frameworkModule()).LoadStringW(text, id, language);
  return text;
}

// The raw operation, since a client that is gone must not turn the report of a failure into
// another.
void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons) {
  long pressed = 0;
  application->raw_MessageBox(text, 1, button, otherButtons, otherButtons, &pressed);
}

}  // namespace qx
