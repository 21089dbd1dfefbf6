#include "qxframework/util/framework_text.h"

#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/resources/resource_loader.h"

namespace qx {

HINSTANCE frameworkModule() { return GetModuleHandleW(kFrameworkModule); }

// The module is looked up each time: it can be loaded and unloaded with the add-on's own library.
CComBSTR frameworkText(unsigned id, HvLanguages language) {
  CQXBSTR text(u"", language);
  CQXResourceLoader(frameworkModule()).LoadStringW(text, id, language);
  return text;
}

}  // namespace qx
