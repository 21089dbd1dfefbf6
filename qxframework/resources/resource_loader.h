#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"
#include "qxframework/resources/xml_map.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class CQXBSTR;
class IXMLDOMDocument;
class IXMLDOMNode;

/// The one door to a module's embedded XML and localised strings. Given a symbol table it rewrites
/// an XML text before anybody sees it: symbols in identifier attributes become numbers, symbols in
/// text attributes become strings in the user's language.
///
/// The first `long` of an operation is the host's application number for the log. Failures are
/// logged and raised as _com_error; a missing child, attribute or mapping is no failure here.
class QX_API CQXResourceLoader {
 public:
  /// Null stands for the executable. The loader owns nothing.
  explicit CQXResourceLoader(HINSTANCE module = nullptr);
  /// Taken as it stands, null included.
  void SetModuleHandle(HINSTANCE module) { m_hModule = module; }

  /// Reads XML resource `id`. A text that begins with FF FE or FE FF is taken as 16-bit units as
  /// they stand, mark included; any other is narrow text: UTF-8, or ISO-8859-1 if it is not
  /// well-formed UTF-8, whatever its declaration says. E_INVALIDARG when there is none.
  long GetResourceFileContents(long appId, unsigned int id, CComBSTR& text);

  /// Parses `source`, a text from its first "<" on, or, without a "<", the name of a file, and
  /// rewrites it by `map` if there is one. E_INVALIDARG when it does not parse.
  long LoadXML(long appId, CComBSTR source, CComPtr<IXMLDOMDocument>& document,
               const std::vector<XMLMAP>* map, HvLanguages language);

  /// The first child whose lower-cased name is `name` (to be given in lower case), or null. With
  /// `expectedChildren` other than -1 the parent must have exactly that many.
  CComPtr<IXMLDOMNode> GetChildNode(long appId, CComPtr<IXMLDOMNode> parent, CComBSTR name,
                                    long expectedChildren, bool logMissing);
  /// The value of an attribute; a null string when it is absent.
  CComBSTR GetXMLAttributeValue(CComPtr<IXMLDOMNode> node, CComBSTR name);

  /// String `id` of the module, as CQXBSTR::LoadStringW finds it; false when there is none.
  bool LoadStringW(CQXBSTR& out, unsigned int id, HvLanguages language);
  bool LoadStringW(CQXBSTR& out, unsigned int id, unsigned short langId);

 private:
  /// Rows by their tag; the first row of a tag wins.
  using MapTable = std::unordered_map<std::u16string, XMLMAP>;

  void FillTable(long appId, IXMLDOMDocument* document, const std::vector<XMLMAP>& map,
                 MapTable& table);
  void RemoveMapTable(long appId, IXMLDOMDocument* document);
  void FindAndReplace(CString& text, std::u16string_view opener, const MapTable& map,
                      HvLanguages language, long appId);
  CString Replacement(const XMLMAP& row, bool identifier, HvLanguages language);
  long GetXMLMapTable(long appId, CComPtr<IXMLDOMNode> mapTable, MapTable& map);

  HINSTANCE m_hModule;
};
