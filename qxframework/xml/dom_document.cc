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

/// Done while the library is loaded and not at the first use, so that whoever registers a factory
/// for the class comes later and is heard.
const HRESULT kRegistration = registerFactory();

}  // namespace

HRESULT createDocument(IXMLDOMDocument** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (kRegistration < 0) return kRegistration;
  return createInstance(CLSID_DOMDocument, CLSCTX_INPROC_SERVER, out);
}

}  // namespace qx
