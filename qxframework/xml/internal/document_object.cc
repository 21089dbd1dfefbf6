#include "qxframework/xml/internal/document_object.h"

#include "qxframework/automation/text.h"
#include "qxframework/xml/internal/utf.h"

#include <new>

namespace qx::xml {
namespace {

class ParseErrorObject final : public ComObject<IXMLDOMParseError> {
 public:
  ParseErrorObject(ParseFault fault, std::string source)
      : fault_(std::move(fault)), source_(std::move(source)) {}

  HRESULT raw_errorCode(long* code) override { return give(fault_.code, code); }
  HRESULT raw_reason(BSTR* reason) override { return giveText(toUtf16(fault_.reason), reason); }
  HRESULT raw_line(long* line) override { return give(fault_.line, line); }
  HRESULT raw_linepos(long* position) override { return give(fault_.position, position); }
  HRESULT raw_url(BSTR* url) override { return giveText(toUtf16(source_), url); }

 private:
  static HRESULT give(long value, long* out) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
  }

  ParseFault fault_;
  std::string source_;
};

// Returns a tree that owns the document, or a new empty document if it is null.
TreePointer treeOf(DocumentHandle document) {
  if (document == nullptr) {
    document.reset(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
    if (document == nullptr) throw std::bad_alloc();
  }
  // Released only after the allocation has succeeded, so that the document does not leak.
  auto tree = std::make_shared<DomTree>(document.get());
  static_cast<void>(document.release());
  return tree;
}

xmlNode* rootOf(const TreePointer& tree) { return reinterpret_cast<xmlNode*>(tree->document()); }

}  // namespace

DocumentObject::DocumentObject() : DocumentObject(treeOf(nullptr)) {}

DocumentObject::DocumentObject(const TreePointer& tree) : DomNode(tree, rootOf(tree)) {}

template <class Parse>
HRESULT DocumentObject::read(Parse parse, std::string source, VARIANT_BOOL* success) {
  // Before parsing, so that a large former tree is freed before the new one takes its memory. The
  // document stays empty if the parse fails.
  if (tree()->document()->children != nullptr) setTree(treeOf(nullptr));
  ParseResult result = parse();
  fault_ = std::move(result.fault);
  source_ = std::move(source);
  if (fault_.code < 0) return S_FALSE;
  setTree(treeOf(std::move(result.document)));
  *success = VARIANT_TRUE;
  return S_OK;
}

// Other nodes keep the former tree; its document node gets a new object if they ask for it.
void DocumentObject::setTree(const TreePointer& tree) { bindTo(tree, rootOf(tree)); }

HRESULT DocumentObject::raw_load(const VARIANT& source, VARIANT_BOOL* success) {
  if (success == nullptr) return E_POINTER;
  *success = VARIANT_FALSE;
  const bool isText = source.vt == VT_BSTR || source.vt == (VT_BYREF | VT_BSTR);
  if (!isText) return E_INVALIDARG;
  return guarded([&] {
    const std::string name = textOf(source);
    return read([&] { return parseFile(name); }, name, success);
  });
}

HRESULT DocumentObject::raw_loadXML(BSTR text, VARIANT_BOOL* success) {
  if (success == nullptr) return E_POINTER;
  *success = VARIANT_FALSE;
  return guarded([&] { return read([&] { return parseText(viewOfBstr(text)); }, {}, success); });
}

HRESULT DocumentObject::raw_parseError(IXMLDOMParseError** error) {
  return guarded([&] {
    const auto object = makeObject<ParseErrorObject>(fault_, source_);
    return giveObject<IXMLDOMParseError>(object.p, error);
  });
}

HRESULT DocumentObject::raw_documentElement(IXMLDOMElement** element) {
  if (element == nullptr) return E_POINTER;
  return guarded(
      [&] { return giveNodeAs(tree(), xmlDocGetRootElement(tree()->document()), element); });
}

HRESULT DocumentObject::raw_createElement(BSTR name, IXMLDOMElement** element) {
  if (element == nullptr) return E_POINTER;
  *element = nullptr;
  return guarded(
      [&] { return giveNodeAs(tree(), newElement(*tree(), viewOfBstr(name)), element); });
}

HRESULT DocumentObject::raw_createAttribute(BSTR name, IXMLDOMAttribute** attribute) {
  if (attribute == nullptr) return E_POINTER;
  *attribute = nullptr;
  return guarded(
      [&] { return giveNodeAs(tree(), newAttribute(*tree(), viewOfBstr(name)), attribute); });
}

HRESULT DocumentObject::raw_createTextNode(BSTR text, IXMLDOMNode** node) {
  if (node == nullptr) return E_POINTER;
  *node = nullptr;
  return guarded([&] { return giveNode(tree(), newText(*tree(), viewOfBstr(text)), node); });
}

HRESULT DocumentObject::raw_createComment(BSTR text, IXMLDOMNode** node) {
  if (node == nullptr) return E_POINTER;
  *node = nullptr;
  return guarded([&] { return giveNode(tree(), newComment(*tree(), viewOfBstr(text)), node); });
}

}  // namespace qx::xml
