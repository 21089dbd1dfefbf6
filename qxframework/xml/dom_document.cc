#include "qxframework/xml/dom_document.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/internal/document_object.h"

namespace qx {
namespace {

HRESULT registerFactory() {
  return guarded([] {
    DWORD cookie = 0;
    const auto factory = makeFactory([] { return makeObject<xml::DocumentObject>(); });
    return CoRegisterClassObject(CLSID_DOMDocument, factory, CLSCTX_INPROC_SERVER, 0, &cookie);
  });
}

// Registered while the library is loaded and not at the first use, so that a factory of the program
// is always the later one and takes precedence. The registration lasts as long as the process.
const HRESULT kRegistration = registerFactory();

}  // namespace

HRESULT createDocument(IXMLDOMDocument** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (kRegistration < 0) return kRegistration;
  return createInstance(CLSID_DOMDocument, CLSCTX_INPROC_SERVER, out);
}

}  // namespace qx
