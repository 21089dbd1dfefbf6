#include "qxframework/runtime/internal/framework_texts.h"

#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/application.h"
#include "qxframework/resources/resource_loader.h"

namespace qx {

HINSTANCE frameworkModule() { return GetModuleHandleW(kFrameworkModule); }

CComBSTR frameworkText(FrameworkText id, HvLanguages language) {
  CQXBSTR text(u"", language);
  CQXResourceLoader(frameworkModule()).LoadStringW(text, id, language);
  return text;
}

void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons) {
  long pressed = 0;
  application->raw_MessageBox(text, 1, button, otherButtons, otherButtons, &pressed);
}

}  // namespace qx
