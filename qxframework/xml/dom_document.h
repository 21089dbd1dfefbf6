#pragma once

// The class of the XML document. Its factory is registered in this process when the library is
// loaded, so a factory that is registered later for the same class id answers in its place.

#include "qxframework/automation/types.h"

class IXMLDOMDocument;

/// Frozen: registries and compiled add-ons name it.
inline constexpr CLSID CLSID_DOMDocument{
    0xfe6ba901, 0x644a, 0x4c3a, {0xb5, 0x33, 0xe2, 0xe9, 0x3d, 0xab, 0xce, 0xfb}};

namespace qx {

/// A new empty document, made by CoCreateInstance in this process; the result of that.
QX_API HRESULT createDocument(IXMLDOMDocument** out);

}  // namespace qx
