#pragma once

// Helpers that the tests of the document share.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qx::xml {

/// Returns the text as UTF-8 for comparisons and messages.
inline std::string plain(const CComBSTR& text) { return toUtf8(text.View()); }

/// Returns the text of a VT_BSTR value; the number of the kind in brackets for another value.
inline std::string plain(const CComVariant& value) {
  if (value.vt == VT_BSTR) return toUtf8(viewOfBstr(value.bstrVal));
  return "[" + std::to_string(value.vt) + "]";
}

/// Returns a new empty document.
inline CComPtr<IXMLDOMDocument> emptyDocument() {
  CComPtr<IXMLDOMDocument> document;
  raiseIfFailed(createDocument(&document));
  return document;
}

/// Returns a document that is read from `text`; the test fails if the text does not parse.
inline CComPtr<IXMLDOMDocument> documentOf(std::u16string_view text) {
  CComPtr<IXMLDOMDocument> document = emptyDocument();
  const VARIANT_BOOL success = document->loadXML(text);
  EXPECT_EQ(success, VARIANT_TRUE) << plain(document->parseError()->reason());
  return document;
}

/// Returns the names of the nodes from the list's cursor to its end, separated by blanks.
inline std::string namesOf(const CComPtr<IXMLDOMNodeList>& list) {
  std::string out;
  for (CComPtr<IXMLDOMNode> node = list->nextNode(); node.p != nullptr; node = list->nextNode()) {
    out += (out.empty() ? "" : " ") + plain(node->nodeName());
  }
  return out;
}

}  // namespace qx::xml
