#include "qxframework/xml/internal/element_object.h"

namespace qx::xml {

HRESULT ElementObject::raw_tagName(BSTR* name) { return raw_nodeName(name); }

HRESULT ElementObject::raw_getAttribute(BSTR name, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  *value = VARIANT();
  return guarded([&]() -> HRESULT {
    xmlAttr* const found = findAttribute(node(), viewOfBstr(name));
    if (found != nullptr) {
      return objectOf(tree(), reinterpret_cast<xmlNode*>(found))->raw_nodeValue(value);
    }
    value->vt = VT_NULL;
    return S_FALSE;
  });
}

HRESULT ElementObject::raw_setAttribute(BSTR name, const VARIANT& value) {
  return guarded([&] { putAttributeValue(*this, viewOfBstr(name), value); });
}

HRESULT ElementObject::raw_getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) {
  if (attribute == nullptr) return E_POINTER;
  *attribute = nullptr;
  return guarded(
      [&] { return giveNodeAs(tree(), findAttribute(node(), viewOfBstr(name)), attribute); });
}

HRESULT ElementObject::raw_setAttributeNode(IXMLDOMAttribute* attribute,
                                            IXMLDOMAttribute** replaced) {
  if (replaced == nullptr) return E_POINTER;
  *replaced = nullptr;
  return guarded([&] {
    // Success is S_OK here, also if no attribute was replaced and the null node returns S_FALSE.
    xmlAttr* const former = putAttribute(*this, implementationOf(attribute));
    const HRESULT result = giveNodeAs(tree(), former, replaced);
    return result < 0 ? result : S_OK;
  });
}

HRESULT ElementObject::raw_removeAttribute(BSTR name) {
  return guarded([&] {
    xmlAttr* const found = findAttribute(node(), viewOfBstr(name));
    if (found == nullptr) return S_FALSE;
    tree()->detach(reinterpret_cast<xmlNode*>(found));
    return S_OK;
  });
}

}  // namespace qx::xml
