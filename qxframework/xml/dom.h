#pragma once

// The XML document as a tree of objects. A document is parsed from a text or a file, walked and
// changed through nodes, lists and attribute maps, and written back as text.
//
// Every operation is a virtual raw_X that returns a result code, and an inline X that raises
// _com_error below 0 and returns the out value. Every text that goes out is a new string for the
// caller. Lists and maps are live: they show the tree as it is when they are asked. A node keeps
// its tree alive and stays valid when it is removed; one node is always one object, so two pointers
// to it are equal. Nodes move between documents by appendChild, insertBefore and setAttributeNode.
// A document and its nodes are to be used by one thread at a time.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/host_call.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/variant.h"

class IXMLDOMAttribute;
class IXMLDOMDocument;
class IXMLDOMElement;
class IXMLDOMNamedNodeMap;
class IXMLDOMNode;
class IXMLDOMNodeList;
class IXMLDOMParseError;

/// Frozen: callers compare with the numbers.
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

/// Any node of a tree. A node of another implementation given as an argument is E_INVALIDARG.
class IXMLDOMNode : public IUnknown {
 public:
  static constexpr GUID kIid{
      0x525b2fe5, 0xc34d, 0x411d, {0x90, 0xf7, 0x4a, 0xa6, 0xa4, 0x93, 0xb5, 0x3e}};

  /// The qualified name of an element or attribute, the target of a processing instruction, else
  /// "#text", "#cdata-section", "#comment" or "#document".
  virtual HRESULT raw_nodeName(BSTR* name) = 0;
  virtual HRESULT raw_nodeType(DOMNodeType* type) = 0;
  /// "element", "attribute", "text", "cdatasection", "processinginstruction", "comment",
  /// "document".
  virtual HRESULT raw_nodeTypeString(BSTR* type) = 0;
  /// The text of an attribute, text, CDATA section, comment or processing instruction; VT_NULL and
  /// S_FALSE for an element or document.
  virtual HRESULT raw_nodeValue(VARIANT* value) = 0;
  /// `value` is converted to text. E_FAIL for an element or document, E_INVALIDARG for a text that
  /// could not be read back: control characters, "--" in a comment and their like.
  virtual HRESULT raw_putNodeValue(const VARIANT& value) = 0;
  /// All text and CDATA below the node in document order; of the other kinds their value.
  virtual HRESULT raw_text(BSTR* text) = 0;
  /// The name without prefix; an empty text and S_FALSE for nodes without a name.
  virtual HRESULT raw_baseName(BSTR* name) = 0;
  /// Empty text and S_FALSE outside any namespace.
  virtual HRESULT raw_namespaceURI(BSTR* uri) = 0;
  /// The node as text, two blanks of indentation per level where no text is beside the elements. A
  /// document's text begins with the XML declaration, if it was read with one, and ends in a line
  /// feed; an empty document gives an empty text. Attribute values stand between double quotes. No
  /// encoding is named, since the text is wide.
  virtual HRESULT raw_xml(BSTR* text) = 0;

  /// Null and S_FALSE for a node without a parent; an attribute has none.
  virtual HRESULT raw_parentNode(IXMLDOMNode** parent) = 0;
  /// The document that the node belongs to; null and S_FALSE for a document.
  virtual HRESULT raw_ownerDocument(IXMLDOMDocument** document) = 0;
  /// A live list; empty for nodes that cannot have children. Text that is only white space was
  /// dropped when the document was read.
  virtual HRESULT raw_childNodes(IXMLDOMNodeList** children) = 0;
  /// Null and S_FALSE when there is none, as for the next two.
  virtual HRESULT raw_firstChild(IXMLDOMNode** child) = 0;
  virtual HRESULT raw_lastChild(IXMLDOMNode** child) = 0;
  virtual HRESULT raw_nextSibling(IXMLDOMNode** sibling) = 0;
  /// A live map; null and S_FALSE for all but elements. Declarations of namespaces are not in it.
  virtual HRESULT raw_attributes(IXMLDOMNamedNodeMap** attributes) = 0;

  /// Moves `child`, with all below it, from wherever it is to the end of this node's children.
  /// E_INVALIDARG when it may not stand there: under itself, an attribute or document as a child, a
  /// second root, text beside the root, anything under a node that has no children.
  virtual HRESULT raw_appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) = 0;
  /// As appendChild, ahead of `before`, which is a child of this node; at the end when it is null.
  virtual HRESULT raw_insertBefore(IXMLDOMNode* child, IXMLDOMNode* before,
                                   IXMLDOMNode** inserted) = 0;
  /// E_INVALIDARG when `child` is not a child of this node.
  virtual HRESULT raw_removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) = 0;
  /// A copy without parent in the same document, with all below it when `deep`. A document's copy
  /// is a new document.
  virtual HRESULT raw_cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) = 0;

  /// The first node in document order that the XPath 1.0 expression selects from here; null and
  /// S_FALSE when there is none, E_INVALIDARG for an expression that does not select nodes. The
  /// prefixes in scope at this node (of a document, at its root element) can be used.
  virtual HRESULT raw_selectSingleNode(BSTR xpath, IXMLDOMNode** node) = 0;
  /// All such nodes in document order, as they are now: this list is not live.
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

/// A sequence of nodes with a cursor of its own.
class IXMLDOMNodeList : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xca8bdba0, 0x69d3, 0x4be2, {0x9c, 0xcb, 0xd0, 0x12, 0x17, 0x6f, 0xae, 0xfc}};

  virtual HRESULT raw_length(long* length) = 0;
  /// Counted from 0; null and S_FALSE outside the list. A walk upwards costs no more than nextNode.
  virtual HRESULT raw_item(long index, IXMLDOMNode** node) = 0;
  /// The node behind the one given last, null and S_FALSE at the end. When the one given last has
  /// been removed meanwhile, the walk goes on with the node that stood behind it.
  virtual HRESULT raw_nextNode(IXMLDOMNode** node) = 0;
  /// Sets the cursor ahead of the first node.
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

  virtual HRESULT raw_length(long* length) = 0;
  /// Counted from 0; null and S_FALSE outside the map.
  virtual HRESULT raw_item(long index, IXMLDOMNode** attribute) = 0;
  /// By the qualified name, case included; null and S_FALSE when there is none.
  virtual HRESULT raw_getNamedItem(BSTR name, IXMLDOMNode** attribute) = 0;
  /// As IXMLDOMElement::setAttributeNode; gives the attribute that was set.
  virtual HRESULT raw_setNamedItem(IXMLDOMNode* attribute, IXMLDOMNode** set) = 0;
  /// Gives the removed attribute; null and S_FALSE when there is none.
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

class IXMLDOMAttribute : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x93d83230, 0x2834, 0x4aac, {0xb7, 0x97, 0x28, 0x4e, 0x5d, 0x30, 0xe3, 0x98}};

  /// The same as nodeName and nodeValue.
  virtual HRESULT raw_name(BSTR* name) = 0;
  virtual HRESULT raw_value(VARIANT* value) = 0;
  virtual HRESULT raw_putValue(const VARIANT& value) = 0;

  CComBSTR name() { return qx::getText(this, &IXMLDOMAttribute::raw_name); }
  CComVariant value() { return qx::getValue<CComVariant>(this, &IXMLDOMAttribute::raw_value); }
  void putValue(const CComVariant& value) { qx::raiseIfFailed(raw_putValue(value)); }

 protected:
  ~IXMLDOMAttribute() = default;
};

class IXMLDOMElement : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x0b35d376, 0x2ec0, 0x4c3a, {0xbf, 0xf8, 0x03, 0xa9, 0x60, 0x76, 0x97, 0xbe}};

  virtual HRESULT raw_tagName(BSTR* name) = 0;
  /// VT_BSTR; VT_NULL and S_FALSE when there is no such attribute.
  virtual HRESULT raw_getAttribute(BSTR name, VARIANT* value) = 0;
  /// An attribute that exists gets the value and keeps its place, a new one stands last.
  virtual HRESULT raw_setAttribute(BSTR name, const VARIANT& value) = 0;
  /// Null and S_FALSE when there is none.
  virtual HRESULT raw_getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) = 0;
  /// Gives the attribute of that name that was replaced, else null; the new one takes its place,
  /// without such a one it stands last. E_INVALIDARG for an attribute of another element.
  virtual HRESULT raw_setAttributeNode(IXMLDOMAttribute* attribute,
                                       IXMLDOMAttribute** replaced) = 0;
  /// S_FALSE when there is none.
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

/// What the last load or loadXML said. It is a copy and does not change with the next one.
class IXMLDOMParseError : public IUnknown {
 public:
  static constexpr GUID kIid{
      0x82615b1c, 0xcc90, 0x4a86, {0x91, 0x58, 0x3e, 0x19, 0x09, 0x0b, 0x46, 0x92}};

  /// 0 after a success; 0x80070002 for a file that is not there, 0x80070005 for one that may not be
  /// read, else E_FAIL.
  virtual HRESULT raw_errorCode(long* code) = 0;
  /// A sentence that ends with a line end; empty after a success.
  virtual HRESULT raw_reason(BSTR* reason) = 0;
  /// Both counted from 1; 0 when the fault has no place in the text.
  virtual HRESULT raw_line(long* line) = 0;
  virtual HRESULT raw_linepos(long* position) = 0;
  /// The file name or URL as it was given; empty for a text.
  virtual HRESULT raw_url(BSTR* url) = 0;

  long errorCode() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_errorCode); }
  CComBSTR reason() { return qx::getText(this, &IXMLDOMParseError::raw_reason); }
  long line() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_line); }
  long linepos() { return qx::getValue<long>(this, &IXMLDOMParseError::raw_linepos); }
  CComBSTR url() { return qx::getText(this, &IXMLDOMParseError::raw_url); }

 protected:
  ~IXMLDOMParseError() = default;
};

/// The root of a tree. Nodes that it creates belong to it and have no parent yet.
///
/// What is read: XML 1.0 with namespaces, elements at most 255 levels deep, a single text at most
/// 10,000,000 bytes long. Nothing is fetched besides the file itself. A document type declaration
/// is passed over; the declaration of an entity in it, and any reference but the five predefined
/// ones and those by number, is an error.
class IXMLDOMDocument : public IXMLDOMNode {
 public:
  static constexpr GUID kIid{
      0x9307aa99, 0x7d2a, 0x47cd, {0xa3, 0x68, 0x43, 0xb3, 0x5a, 0xfa, 0x07, 0x84}};

  /// Reads a file by a VT_BSTR path or "file:" URL, in the encoding that its byte-order mark or its
  /// declaration names. Other kinds of values are E_INVALIDARG. VARIANT_FALSE and S_FALSE when
  /// there is no well-formed document; the document is empty then and parseError says why.
  /// Nodes of the former content stay valid, in a tree of their own.
  virtual HRESULT raw_load(const VARIANT& source, VARIANT_BOOL* success) = 0;
  /// As load, from a text. An encoding that its declaration names is passed over.
  virtual HRESULT raw_loadXML(BSTR text, VARIANT_BOOL* success) = 0;
  virtual HRESULT raw_parseError(IXMLDOMParseError** error) = 0;
  /// Null and S_FALSE for an empty document.
  virtual HRESULT raw_documentElement(IXMLDOMElement** element) = 0;
  /// E_INVALIDARG for a text that is no XML name.
  virtual HRESULT raw_createElement(BSTR name, IXMLDOMElement** element) = 0;
  virtual HRESULT raw_createAttribute(BSTR name, IXMLDOMAttribute** attribute) = 0;
  /// E_INVALIDARG for a text that could not be read back, see putNodeValue.
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
