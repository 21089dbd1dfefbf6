#pragma once

// Access to a module's embedded XML and localised strings.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"
#include "qxframework/resources/xml_map.h"

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

class CQXBSTR;
class IXMLDOMDocument;
class IXMLDOMNode;

namespace qx {
class QuotedText;
}

/// Reads the embedded XML and the localised strings of one module. With a symbol table it rewrites
/// an XML text on loading: symbols in identifier attributes become numbers, symbols in text
/// attributes become strings in the user's language; xml_map.h has the rules.
///
/// The first `long` of an operation is the number of the client, for the log. Failures are logged
/// and thrown as a _com_error. A missing child, attribute or mapping is no failure, but a null node
/// is: it throws E_POINTER. So test the result of GetChildNode before you pass it on.
class QX_API CQXResourceLoader {
 public:
  /// Reads from `module`, which must stay loaded; null means the executable.
  explicit CQXResourceLoader(HINSTANCE module = nullptr);
  /// Changes the module. Null is stored as null here; it still means the executable.
  void SetModuleHandle(HINSTANCE module) { m_hModule = module; }

  /// Reads XML resource `id` into `text`. Bytes that begin with FF FE or FE FF are copied as 16-bit
  /// units, with the mark and without a swap; all others are UTF-8, or ISO-8859-1 if they are not
  /// well-formed UTF-8. The declaration in the text does not count. Returns S_OK; throws
  /// E_INVALIDARG if the resource is missing or empty.
  long GetResourceFileContents(long appId, unsigned int id, CComBSTR& text);

  /// Parses `source` into a new document: the text from its first "<" on or, without a "<", the
  /// file of that name. If `map` is neither null nor empty, rewrites the text by it, with the
  /// strings of `language`, and removes the document's own `maptable` element. Returns S_OK; throws
  /// E_INVALIDARG if the text does not parse, before or after rewriting.
  long LoadXML(long appId, CComBSTR source, CComPtr<IXMLDOMDocument>& document,
               const std::vector<XMLMAP>* map, HvLanguages language);

  /// Returns the first child with this name, which is given in lower case and compared with the
  /// lower-cased name of the child. Returns null if there is none, with a line in the log if
  /// `logMissing` is true. Returns null without a line if `expectedChildren` is not -1 and the
  /// parent has another number of children.
  CComPtr<IXMLDOMNode> GetChildNode(long appId, CComPtr<IXMLDOMNode> parent, CComBSTR name,
                                    long expectedChildren, bool logMissing);
  /// Returns the value of an attribute; a null string if the node does not have it.
  CComBSTR GetXMLAttributeValue(CComPtr<IXMLDOMNode> node, CComBSTR name);

  /// Loads string `id` of the module as CQXBSTR::LoadStringW does. Returns false, and keeps `out`,
  /// if there is none.
  bool LoadStringW(CQXBSTR& out, unsigned int id, HvLanguages language);
  /// Does the same with a Windows language id.
  bool LoadStringW(CQXBSTR& out, unsigned int id, unsigned short langId);
  /// Deleted, as in CQXBSTR: a plain number does not say which of the two it is.
  template <std::integral Number>
  requires(!std::is_same_v<Number, unsigned short>) bool LoadStringW(CQXBSTR& out, unsigned int id,
                                                                     Number language) = delete;

 private:
  /// The rows by tag, borrowed. The first row of a tag wins.
  using MapTable = std::unordered_map<std::u16string_view, const XMLMAP*>;

  MapTable MakeTable(long appId, IXMLDOMDocument* document, const std::vector<XMLMAP>& map,
                     std::vector<XMLMAP>& ofDocument);
  void RemoveMapTable(long appId, IXMLDOMDocument* document);
  void FindAndReplace(qx::QuotedText& text, std::size_t attribute, const MapTable& map,
                      HvLanguages language, long appId);
  std::u16string Replacement(const XMLMAP& row, bool identifier, HvLanguages language);
  long GetXMLMapTable(long appId, CComPtr<IXMLDOMNode> mapTable, std::vector<XMLMAP>& map);

  HINSTANCE m_hModule;
};
