#pragma once

// The XML document as a tree of objects. A document is parsed from a text or a file, walked and
// changed through nodes, lists and attribute maps, and written back as text.
//
// Every operation is a virtual raw_X that returns a result code and stores its result in an out
// parameter, and an inline X that throws _com_error for a negative code and returns the result. A
// stored text is a new string, which the caller owns. Lists and maps are live: each call sees the
// tree as it is then. A node keeps its tree alive and stays valid when it is removed. One node is
// always one object, so two pointers to it are equal. Nodes move between documents by appendChild,
// insertBefore and setAttributeNode. Only one thread at a time may use a document and its nodes.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/host_call.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/variant.h"
#include "qxframework/xml/dom_forward.h"

class IXMLDOMAttribute;
class IXMLDOMDocument;
class IXMLDOMElement;
class IXMLDOMNamedNodeMap;
class IXMLDOMNodeList;
class IXMLDOMParseError;

/// The kind of a node. Frozen: callers compare with the numbers.
enum DOMNodeType : long {
  NODE_ELEMENT = 1,
  NODE_ATTRIBUTE = 2,
  NODE_TEXT = 3,
  NODE_CDATA_SECTION = 4,
  NODE_PROCESSING_INSTRUCTION = 7,
  NODE_COMMENT = 8,
  NODE_DOCUMENT = 9,
};

// The interface ids below are frozen: compiled add-ons ask for them.

/// Any node of a tree. Operations return E_INVALIDARG for a node of another implementation as an
/// argument, and E_POINTER for a null node or out parameter.
class QX_API IXMLDOMNode : public IUnknown {
 public:
  static constexpr GUID kIid{
      0x525b2fe5, 0xc34d, 0x411d, {0x90, 0xf7, 0x4a, 0xa6, 0xa4, 0x93, 0xb5, 0x3e}};

  /// Stores the qualified name of an element or attribute, the target of a processing instruction,
  /// else "#text", "#cdata-section", "#comment" or "#document".
  virtual HRESULT raw_nodeName(BSTR* name) = 0;
  /// Stores the kind of the node.
  virtual HRESULT raw_nodeType(DOMNodeType* type) = 0;
  /// Stores "element", "attribute", "text", "cdatasection", "processinginstruction", "comment" or
  /// "document".
  virtual HRESULT raw_nodeTypeString(BSTR* type) = 0;
  /// Stores the text of an attribute, text, CDATA section, comment or processing instruction.
  /// Stores VT_NULL and returns S_FALSE for an element or document.
  virtual HRESULT raw_nodeValue(VARIANT* value) = 0;
  /// Sets the text of the node to `value`, converted to text. Returns E_FAIL for an element or
  /// document, and E_INVALIDARG for a text that would not read back: one with control characters,
  /// with "--" in a comment, with "?>" in a processing instruction.
  virtual HRESULT raw_putNodeValue(const VARIANT& value) = 0;
  /// Stores all text and CDATA below an element or document in document order; the value of other
  /// nodes.
  virtual HRESULT raw_text(BSTR* text) = 0;
  /// Stores the name without prefix. Stores an empty text and returns S_FALSE for nodes without a
  /// name.
  virtual HRESULT raw_baseName(BSTR* name) = 0;
  /// Stores the name of the node's namespace. Stores an empty text and returns S_FALSE outside any
  /// namespace.
  virtual HRESULT raw_namespaceURI(BSTR* uri) = 0;
  /// Stores the node as XML. Elements without text beside them are indented by two blanks per
  /// level, except below xml:space="preserve". A text of white space only begins with a character
  /// reference, so that it is kept when it is read. A document begins with the XML declaration, if
  /// it was read with one, and ends in a line feed; an empty document is an empty text. Attribute
  /// values are in double quotes. The declaration names no encoding, since the text is wide.
  virtual HRESULT raw_xml(BSTR* text) = 0;

  /// Stores the parent. Stores null and returns S_FALSE for a node without a parent; attributes
  /// have none.
  virtual HRESULT raw_parentNode(IXMLDOMNode** parent) = 0;
  /// Stores the document that the node belongs to. Stores null and returns S_FALSE for a document.
  virtual HRESULT raw_ownerDocument(IXMLDOMDocument** document) = 0;
  /// Stores a live list of the children, which is empty for nodes that cannot have any. Text of
  /// white space only is dropped when a document is read, unless xml:space="preserve" holds for it,
  /// it has a character reference in it, or it is between two CDATA sections.
  virtual HRESULT raw_childNodes(IXMLDOMNodeList** children) = 0;
  /// Store a neighbour of the node. Store null and return S_FALSE if there is none.
  virtual HRESULT raw_firstChild(IXMLDOMNode** child) = 0;
  virtual HRESULT raw_lastChild(IXMLDOMNode** child) = 0;
  virtual HRESULT raw_nextSibling(IXMLDOMNode** sibling) = 0;
  /// Stores a live map of an element's attributes, without its namespace declarations. Stores null
  /// and returns S_FALSE for other nodes.
  virtual HRESULT raw_attributes(IXMLDOMNamedNodeMap** attributes) = 0;

  /// Moves `child` and its descendants from its present place to the end of this node's children,
  /// and stores `child`. Returns E_INVALIDARG for an impossible child: this node or an ancestor of
  /// it, an attribute, a document, a second root, text beside the root, any node below one without
  /// children.
  virtual HRESULT raw_appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) = 0;
  /// Moves `child` as appendChild does, to the place before `before`, a child of this node, or to
  /// the end if `before` is null. Returns E_INVALIDARG if `before` is not a child of this node.
  virtual HRESULT raw_insertBefore(IXMLDOMNode* child, IXMLDOMNode* before,
                                   IXMLDOMNode** inserted) = 0;
  /// Removes `child` from this node and stores it. Returns E_INVALIDARG if it is not a child of
  /// this node.
  virtual HRESULT raw_removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) = 0;
  /// Stores a copy without a parent that belongs to the same document, with all descendants if
  /// `deep` is true. The copy of a document is a new document.
  virtual HRESULT raw_cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) = 0;

  /// Stores the first node in document order that the XPath 1.0 expression selects from this node.
  /// Stores null and returns S_FALSE if there is none. Returns E_INVALIDARG for an expression that
  /// does not select nodes. The expression may use the prefixes in scope at this node; at a
  /// document, those of its root element.
  virtual HRESULT raw_selectSingleNode(BSTR xpath, IXMLDOMNode** node) = 0;
  /// Stores a list of all nodes that the expression selects, in document order. This list is not
  /// live.
  virtual HRESULT raw_selectNodes(BSTR xpath, IXMLDOMNodeList** nodes) = 0;

  CComBSTR nodeName() { return qx::getText(this, &IXMLDOMNode::raw_nodeName); }
  DOMNodeType nodeType() { return qx::getValue<DOMNodeType>(this, &IXMLDOMNode::raw_nodeType); }
  CComBSTR nodeTypeString() { return qx::getText(this, &IXMLDOMNode::raw_nodeTypeString); }
  CComVariant nodeValue() { return qx::getValue<CComVariant>(this, &IXMLDOMNode::raw_nodeValue); }
  void putNodeValue(const CComVariant& value) { qx::raiseIfFailed(raw_putNodeValue(value)); }
  CComBSTR text() { return qx::getText(this, &IXMLDOMNode::raw_text); }
  CComBSTR baseName() { return qx::getText(this, &IXMLDOMNode::raw_baseName); }
  CComBSTR namespaceURI() { return qx::getText(this, &IXMLDOMNode::raw_namespaceURI); }
  CComBSTR xml() { return qx::getText(this, &IXMLDOMNode::raw_xml); }
  CComPtr<IXMLDOMNode> parentNode() {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_parentNode);
  }
  CComPtr<IXMLDOMDocument> ownerDocument();
  CComPtr<IXMLDOMNodeList> childNodes();
  CComPtr<IXMLDOMNode> firstChild() {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_firstChild);
  }
  CComPtr<IXMLDOMNode> lastChild() {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_lastChild);
  }
  CComPtr<IXMLDOMNode> nextSibling() {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_nextSibling);
  }
  CComPtr<IXMLDOMNamedNodeMap> attributes();
  CComPtr<IXMLDOMNode> appendChild(IXMLDOMNode* child) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_appendChild, child);
  }
  CComPtr<IXMLDOMNode> insertBefore(IXMLDOMNode* child, IXMLDOMNode* before) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_insertBefore, child, before);
  }
  CComPtr<IXMLDOMNode> removeChild(IXMLDOMNode* child) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_removeChild, child);
  }
  CComPtr<IXMLDOMNode> cloneNode(bool deep) {
    const VARIANT_BOOL flag = deep ? VARIANT_TRUE : VARIANT_FALSE;
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_cloneNode, flag);
  }
  CComPtr<IXMLDOMNode> selectSingleNode(const _bstr_t& xpath) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNode::raw_selectSingleNode, xpath);
  }
  CComPtr<IXMLDOMNodeList> selectNodes(const _bstr_t& xpath);

 protected:
  ~IXMLDOMNode() = default;
};

/// A sequence of nodes with a cursor.
class IXMLDOMNodeList : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xca8bdba0, 0x69d3, 0x4be2, {0x9c, 0xcb, 0xd0, 0x12, 0x17, 0x6f, 0xae, 0xfc}};

  /// Stores the number of nodes.
  virtual HRESULT raw_length(long* length) = 0;
  /// Stores the node at `index`, counted from 0. Stores null and returns S_FALSE outside the list.
  /// A walk by ascending index costs no more than nextNode.
  virtual HRESULT raw_item(long index, IXMLDOMNode** node) = 0;
  /// Stores the node after the last one that this operation returned. If that node was removed
  /// meanwhile, the walk continues with the node that followed it. Stores null and returns S_FALSE
  /// at the end.
  virtual HRESULT raw_nextNode(IXMLDOMNode** node) = 0;
  /// Sets the cursor before the first node.
  virtual HRESULT raw_reset() = 0;

  long length() { return qx::getValue<long>(this, &IXMLDOMNodeList::raw_length); }
  CComPtr<IXMLDOMNode> item(long index) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNodeList::raw_item, index);
  }
  CComPtr<IXMLDOMNode> nextNode() {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNodeList::raw_nextNode);
  }
  void reset() { qx::raiseIfFailed(raw_reset()); }

 protected:
  ~IXMLDOMNodeList() = default;
};

/// The attributes of an element, in the order of the document.
class IXMLDOMNamedNodeMap : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xe6d1d388, 0x189b, 0x4723, {0xad, 0x46, 0x07, 0xd7, 0x7e, 0x4a, 0xfe, 0x7c}};

  /// Stores the number of attributes.
  virtual HRESULT raw_length(long* length) = 0;
  /// Stores the attribute at `index`, counted from 0. Stores null and returns S_FALSE outside the
  /// map.
  virtual HRESULT raw_item(long index, IXMLDOMNode** attribute) = 0;
  /// Stores the attribute with that qualified name, which is compared with case. Stores null and
  /// returns S_FALSE if there is none.
  virtual HRESULT raw_getNamedItem(BSTR name, IXMLDOMNode** attribute) = 0;
  /// Sets an attribute as IXMLDOMElement::setAttributeNode does and stores the attribute itself.
  virtual HRESULT raw_setNamedItem(IXMLDOMNode* attribute, IXMLDOMNode** set) = 0;
  /// Removes the attribute with that qualified name and stores it. Stores null and returns S_FALSE
  /// if there is none. Removes nothing if `removed` is null.
  virtual HRESULT raw_removeNamedItem(BSTR name, IXMLDOMNode** removed) = 0;

  long length() { return qx::getValue<long>(this, &IXMLDOMNamedNodeMap::raw_length); }
  CComPtr<IXMLDOMNode> item(long index) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNamedNodeMap::raw_item, index);
  }
  CComPtr<IXMLDOMNode> getNamedItem(const _bstr_t& name) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNamedNodeMap::raw_getNamedItem, name);
  }
  CComPtr<IXMLDOMNode> setNamedItem(IXMLDOMNode* attribute) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNamedNodeMap::raw_setNamedItem, attribute);
  }
  CComPtr<IXMLDOMNode> removeNamedItem(const _bstr_t& name) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMNamedNodeMap::raw_removeNamedItem, name);
  }

 protected:
  ~IXMLDOMNamedNodeMap() = default;
};

/// An attribute of an element, or one that belongs to no element yet.
class IXMLDOMAttribute : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x93d83230, 0x2834, 0x4aac, {0xb7, 0x97, 0x28, 0x4e, 0x5d, 0x30, 0xe3, 0x98}};

  /// Read and write the name and the value, as nodeName, nodeValue and putNodeValue do.
  virtual HRESULT raw_name(BSTR* name) = 0;
  virtual HRESULT raw_value(VARIANT* value) = 0;
  virtual HRESULT raw_putValue(const VARIANT& value) = 0;

  CComBSTR name() { return qx::getText(this, &IXMLDOMAttribute::raw_name); }
  CComVariant value() { return qx::getValue<CComVariant>(this, &IXMLDOMAttribute::raw_value); }
  void putValue(const CComVariant& value) { qx::raiseIfFailed(raw_putValue(value)); }

 protected:
  ~IXMLDOMAttribute() = default;
};

/// An element. Attribute names are qualified names and compared with case.
class IXMLDOMElement : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x0b35d376, 0x2ec0, 0x4c3a, {0xbf, 0xf8, 0x03, 0xa9, 0x60, 0x76, 0x97, 0xbe}};

  /// Stores the qualified name.
  virtual HRESULT raw_tagName(BSTR* name) = 0;
  /// Stores the value of an attribute as VT_BSTR. Stores VT_NULL and returns S_FALSE if there is no
  /// such attribute.
  virtual HRESULT raw_getAttribute(BSTR name, VARIANT* value) = 0;
  /// Sets the value of an attribute. An existing attribute keeps its place, a new one becomes the
  /// last.
  virtual HRESULT raw_setAttribute(BSTR name, const VARIANT& value) = 0;
  /// Stores an attribute as a node. Stores null and returns S_FALSE if there is none.
  virtual HRESULT raw_getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) = 0;
  /// Adds an attribute node to the element. It replaces the attribute of the same name at its
  /// place, or becomes the last. Stores the replaced attribute, null if there is none. Returns
  /// E_INVALIDARG for an attribute of another element.
  virtual HRESULT raw_setAttributeNode(IXMLDOMAttribute* attribute,
                                       IXMLDOMAttribute** replaced) = 0;
  /// Removes an attribute. Returns S_FALSE if there is none.
  virtual HRESULT raw_removeAttribute(BSTR name) = 0;

  CComBSTR tagName() { return qx::getText(this, &IXMLDOMElement::raw_tagName); }
  CComVariant getAttribute(const _bstr_t& name) {
    return qx::getValue<CComVariant>(this, &IXMLDOMElement::raw_getAttribute, name);
  }
  void setAttribute(const _bstr_t& name, const CComVariant& value) {
    qx::raiseIfFailed(raw_setAttribute(name, value));
  }
  CComPtr<IXMLDOMAttribute> getAttributeNode(const _bstr_t& name) {
    return qx::getObject<IXMLDOMAttribute>(this, &IXMLDOMElement::raw_getAttributeNode, name);
  }
  CComPtr<IXMLDOMAttribute> setAttributeNode(IXMLDOMAttribute* attribute) {
    return qx::getObject<IXMLDOMAttribute>(this, &IXMLDOMElement::raw_setAttributeNode, attribute);
  }
  void removeAttribute(const _bstr_t& name) { qx::raiseIfFailed(raw_removeAttribute(name)); }

 protected:
  ~IXMLDOMElement() = default;
};

/// The fault of the last load or loadXML. It is a copy and does not change with the next load.
class IXMLDOMParseError : public IUnknown {
 public:
  static constexpr GUID kIid{
      0x82615b1c, 0xcc90, 0x4a86, {0x91, 0x58, 0x3e, 0x19, 0x09, 0x0b, 0x46, 0x92}};

  /// Stores 0 after a success, 0x80070002 for a missing file, 0x80070005 for a file without
  /// permission to read it, else E_FAIL; the codes are sign-extended.
  virtual HRESULT raw_errorCode(long* code) = 0;
  /// Stores a sentence that ends with a line end; empty after a success.
  virtual HRESULT raw_reason(BSTR* reason) = 0;
  /// Store the position of the fault, counted from 1; 0 if it has no position in the text.
  virtual HRESULT raw_line(long* line) = 0;
  virtual HRESULT raw_linepos(long* position) = 0;
  /// Stores the path or URL of a load, unchanged; empty for a text.
  virtual HRESULT raw_url(BSTR* url) = 0;

  long errorCode() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_errorCode); }
  CComBSTR reason() { return qx::getText(this, &IXMLDOMParseError::raw_reason); }
  long line() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_line); }
  long linepos() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_linepos); }
  CComBSTR url() { return qx::getText(this, &IXMLDOMParseError::raw_url); }

 protected:
  ~IXMLDOMParseError() = default;
};

/// The root of a tree. The nodes that it creates belong to it and have no parent yet.
///
/// It reads XML 1.0 with namespaces, of up to 30,000,000 bytes, with elements up to 255 levels deep
/// and single texts up to 10,000,000 bytes long; other versions of XML are refused. An element has
/// up to 2,000 attributes and declarations of namespaces, and up to 500 declarations, of its own
/// and of the elements around it, hold for it. It fetches nothing but the file itself. A document
/// type declaration is skipped, but for the default values of attributes in it: each element of
/// that name gets those that it does not have, as attributes of its own. There may be 1,000 such
/// values, and they may add up to 10,000,000 bytes to the document. A declaration of an entity is
/// refused; references are limited to the five predefined ones and those by number.
class IXMLDOMDocument : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x9307aa99, 0x7d2a, 0x47cd, {0xa3, 0x68, 0x43, 0xb3, 0x5a, 0xfa, 0x07, 0x84}};

  /// Reads a file, given as a path or "file:" URL in a VT_BSTR, in the encoding that its byte-order
  /// mark or its declaration names. Stores VARIANT_FALSE and returns S_FALSE if it is not a
  /// well-formed document; the document is empty then and parseError holds the reason. Returns
  /// E_INVALIDARG for other kinds of values. Nodes of the former content stay valid, in a separate
  /// tree.
  virtual HRESULT raw_load(const VARIANT& source, VARIANT_BOOL* success) = 0;
  /// Reads a text as load reads a file. The encoding in its declaration is ignored.
  virtual HRESULT raw_loadXML(BSTR text, VARIANT_BOOL* success) = 0;
  /// Stores the fault of the last load or loadXML.
  virtual HRESULT raw_parseError(IXMLDOMParseError** error) = 0;
  /// Stores the root element. Stores null and returns S_FALSE for an empty document.
  virtual HRESULT raw_documentElement(IXMLDOMElement** element) = 0;
  /// Create a node with a qualified name. Return E_INVALIDARG for a text that is not an XML name.
  virtual HRESULT raw_createElement(BSTR name, IXMLDOMElement** element) = 0;
  virtual HRESULT raw_createAttribute(BSTR name, IXMLDOMAttribute** attribute) = 0;
  /// Create a node with a text. Return E_INVALIDARG for a text that would not read back, see
  /// putNodeValue.
  virtual HRESULT raw_createTextNode(BSTR text, IXMLDOMNode** node) = 0;
  virtual HRESULT raw_createComment(BSTR text, IXMLDOMNode** node) = 0;

  VARIANT_BOOL load(const CComVariant& source) {
    return qx::getValue<VARIANT_BOOL>(this, &IXMLDOMDocument::raw_load, source);
  }
  VARIANT_BOOL loadXML(const _bstr_t& text) {
    return qx::getValue<VARIANT_BOOL>(this, &IXMLDOMDocument::raw_loadXML, text);
  }
  CComPtr<IXMLDOMParseError> parseError() {
    return qx::getObject<IXMLDOMParseError>(this, &IXMLDOMDocument::raw_parseError);
  }
  CComPtr<IXMLDOMElement> documentElement() {
    return qx::getObject<IXMLDOMElement>(this, &IXMLDOMDocument::raw_documentElement);
  }
  CComPtr<IXMLDOMElement> createElement(const _bstr_t& name) {
    return qx::getObject<IXMLDOMElement>(this, &IXMLDOMDocument::raw_createElement, name);
  }
  CComPtr<IXMLDOMAttribute> createAttribute(const _bstr_t& name) {
    return qx::getObject<IXMLDOMAttribute>(this, &IXMLDOMDocument::raw_createAttribute, name);
  }
  CComPtr<IXMLDOMNode> createTextNode(const _bstr_t& text) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMDocument::raw_createTextNode, text);
  }
  CComPtr<IXMLDOMNode> createComment(const _bstr_t& text) {
    return qx::getObject<IXMLDOMNode>(this, &IXMLDOMDocument::raw_createComment, text);
  }

 protected:
  ~IXMLDOMDocument() = default;
};

inline CComPtr<IXMLDOMDocument> IXMLDOMNode::ownerDocument() {
  return qx::getObject<IXMLDOMDocument>(this, &IXMLDOMNode::raw_ownerDocument);
}
inline CComPtr<IXMLDOMNodeList> IXMLDOMNode::childNodes() {
  return qx::getObject<IXMLDOMNodeList>(this, &IXMLDOMNode::raw_childNodes);
}
inline CComPtr<IXMLDOMNamedNodeMap> IXMLDOMNode::attributes() {
  return qx::getObject<IXMLDOMNamedNodeMap>(this, &IXMLDOMNode::raw_attributes);
}
inline CComPtr<IXMLDOMNodeList> IXMLDOMNode::selectNodes(const _bstr_t& xpath) {
  return qx::getObject<IXMLDOMNodeList>(this, &IXMLDOMNode::raw_selectNodes, xpath);
}
