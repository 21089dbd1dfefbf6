#pragma once

// What the tests of the document share.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qx::xml {

/// Text for comparisons and messages.
inline std::string plain(const CComBSTR& text) { return toUtf8(text.View()); }

/// The text of a VT_BSTR value; the kind's number in brackets for another.
inline std::string plain(const CComVariant& value) {
  if (value.vt == VT_BSTR) return toUtf8(viewOfBstr(value.bstrVal));
  return "[" + std::to_string(value.vt) + "]";
}

inline CComPtr<IXMLDOMDocument> emptyDocument() {
  CComPtr<IXMLDOMDocument> document;
  raiseIfFailed(createDocument(&document));
  return document;
}

/// A document of a text that must parse.
inline CComPtr<IXMLDOMDocument> documentOf(std::u16string_view text) {
  CComPtr<IXMLDOMDocument> document = emptyDocument();
  const VARIANT_BOOL success = document->loadXML(text);
  EXPECT_EQ(success, VARIANT_TRUE) << plain(document->parseError()->reason());
  return document;
}

/// The names of the nodes from the list's cursor on.
inline std::string namesOf(const CComPtr<IXMLDOMNodeList>& list) {
  std::string out;
  for (CComPtr<IXMLDOMNode> node = list->nextNode(); node.p != nullptr; node = list->nextNode()) {
    out += (out.empty() ? "" : " ") + plain(node->nodeName());
  }
  return out;
}

}  // namespace qx::xml
