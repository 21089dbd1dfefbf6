#pragma once

// The class of the XML document. Its factory is registered in this process when the library is
// loaded, so a factory that is registered later for the same class id takes precedence.

#include "qxframework/automation/types.h"

class IXMLDOMDocument;

/// The class id of the document. Frozen: registries and compiled add-ons contain it.
inline constexpr CLSID CLSID_DOMDocument{
    0xfe6ba901, 0x644a, 0x4c3a, {0xb5, 0x33, 0xe2, 0xe9, 0x3d, 0xab, 0xce, 0xfb}};

namespace qx {

/// Stores a new empty document, which CoCreateInstance makes in this process, and returns its
/// result.
QX_API HRESULT createDocument(IXMLDOMDocument** out);

}  // namespace qx
