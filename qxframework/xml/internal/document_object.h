#pragma once

// The document object. Unlike other nodes it can change to another tree, and it creates nodes.

#include "qxframework/xml/internal/dom_node.h"
#include "qxframework/xml/internal/parse.h"

#include <string>

namespace qx::xml {

/// The root node of a tree.
class DocumentObject final : public DomNode<IXMLDOMDocument> {
 public:
  /// Makes an empty document.
  DocumentObject();
  /// Makes the object of the document of `tree`.
  explicit DocumentObject(const TreePointer& tree);

  HRESULT raw_load(const VARIANT& source, VARIANT_BOOL* success) override;
  HRESULT raw_loadXML(BSTR text, VARIANT_BOOL* success) override;
  HRESULT raw_parseError(IXMLDOMParseError** error) override;
  HRESULT raw_documentElement(IXMLDOMElement** element) override;
  HRESULT raw_createElement(BSTR name, IXMLDOMElement** element) override;
  HRESULT raw_createAttribute(BSTR name, IXMLDOMAttribute** attribute) override;
  HRESULT raw_createTextNode(BSTR text, IXMLDOMNode** node) override;
  HRESULT raw_createComment(BSTR text, IXMLDOMNode** node) override;

 private:
  /// Empties the document and fills it with the result of `parse`, or keeps the fault.
  template <class Parse>
  HRESULT read(Parse parse, std::string source, VARIANT_BOOL* success);
  void setTree(const TreePointer& tree);

  ParseFault fault_;
  std::string source_;  // the file name or URL of the last load, as given
};

}  // namespace qx::xml
