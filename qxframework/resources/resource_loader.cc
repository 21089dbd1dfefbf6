#include "qxframework/resources/resource_loader.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/resources.h"
#include "qxframework/resources/form_dump.h"
#include "qxframework/resources/narrow_text.h"
#include "qxframework/resources/quoted_text.h"
#include "qxframework/resources/rewritten_attributes.h"
#include "qxframework/resources/xml_text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string>

namespace {

constexpr auto kOpeners = [] {
  std::array<std::u16string_view, std::size(qx::kRewrittenAttributes)> openers;
  std::transform(std::begin(qx::kRewrittenAttributes), std::end(qx::kRewrittenAttributes),
                 openers.begin(), [](const auto& attribute) { return attribute.opener; });
  return openers;
}();

template <class Scope>
[[noreturn]] void failResource(Scope& hr, const OLECHAR* text, unsigned int id) {
  hr = E_INVALIDARG;
  hr.LogError(text, id);
  qx::raiseError(hr);
}

// Passes the text itself, while the wrapper would copy it: a form is long.
bool parseText(const CComBSTR& text, IXMLDOMDocument* document) {
  VARIANT_BOOL parsed = VARIANT_FALSE;
  qx::raiseIfFailed(document->raw_loadXML(text, &parsed));
  return parsed != VARIANT_FALSE;
}

// Reads `source` into the document: a text without what precedes its first "<", such as a
// byte-order mark, or the file of that name.
bool parse(const CComBSTR& source, IXMLDOMDocument* document) {
  const std::u16string_view text = source.View();
  const std::size_t start = text.find(u'<');
  if (start == text.npos) return document->load(CComVariant(source)) != VARIANT_FALSE;
  return parseText(start == 0 ? source : CComBSTR(text.substr(start)), document);
}

template <class Scope>
[[noreturn]] void failParse(Scope& hr, IXMLDOMDocument* document) {
  const CComPtr<IXMLDOMParseError> error = document->parseError();
  CString reason(error->reason());
  reason.TrimRight();  // parsers end it with a line break, which would split the log line
  hr = E_INVALIDARG;
  hr.LogError(u"Load XML failed: %s [line: %d linepos: %d]\n", reason.GetString(), error->line(),
              error->linepos());
  qx::raiseError(hr);
}

}  // namespace

CQXResourceLoader::CQXResourceLoader(HINSTANCE module)
    : m_hModule(module == nullptr ? GetModuleHandleW(nullptr) : module) {}

long CQXResourceLoader::GetResourceFileContents(long appId, unsigned int id, CComBSTR& text) {
  CReturnValue<long> hr(u"CQXResourceLoader::GetResourceFileContents", 0, appId, false);
  const HRSRC resource = FindResourceExW(m_hModule, RT_HTML, id, 0);
  if (resource == nullptr) failResource(hr, u"Could not locate resource (ID=%ld)!\n", id);
  const HGLOBAL loaded = LoadResource(m_hModule, resource);
  if (loaded == nullptr) failResource(hr, u"Could not load resource (ID=%ld)!\n", id);
  const void* bytes = LockResource(loaded);
  if (bytes == nullptr) failResource(hr, u"Could not lock resource (ID=%ld)!\n", id);
  const DWORD size = SizeofResource(m_hModule, resource);
  if (size == 0) failResource(hr, u"Could not get the size of resource (ID=%ld)!\n", id);

  text = CComBSTR(qx::textOfResource({static_cast<const char*>(bytes), size}));
  if (!text) failResource(hr, u"Could not lock resource (ID=%ld)!\n", id);
  return hr;
}

long CQXResourceLoader::LoadXML(long appId, CComBSTR source, CComPtr<IXMLDOMDocument>& document,
                                const std::vector<XMLMAP>* map, HvLanguages language) {
  CReturnValue<long> hr(u"CQXResourceLoader::LoadXML", 0, appId, false);
  document.Release();
  hr = qx::createDocument(&document.p);
  if (hr < 0) {
    hr.LogError(u"Failed to CoCreate an instance of an XML DOM [0x%x]\n", static_cast<long>(hr));
    qx::raiseError(hr);
  }
  if (!parse(source, document)) failParse(hr, document);
  if (map == nullptr || map->empty()) return hr;

  std::vector<XMLMAP> ofDocument;
  const MapTable table = MakeTable(appId, document, *map, ofDocument);
  // The parsed text is rewritten, not the source: the parser has brought its quotes and entities
  // into one form, on which the openers rely.
  const CComBSTR written = document->xml();
  qx::QuotedText text(written.View(), kOpeners);
  for (std::size_t i = 0; i < std::size(kOpeners); ++i) {
    FindAndReplace(text, i, table, language, appId);
  }
  const CComBSTR rewritten = text.text();
  if (!parseText(rewritten, document)) {
    if (const auto path = qx::dumpForm(rewritten.View()); !path.written) {
      hr.LogError(u"Failed to dump form to %s -- access rights?", path.name);
    }
    hr = E_INVALIDARG;
    hr.LogError(u"Load XML following localization failed. Strange!.\n");
    qx::raiseError(hr);
  }
  RemoveMapTable(appId, document);
  return hr;
}

// The rows of the document's own table are kept in `ofDocument`, since the table only borrows them.
CQXResourceLoader::MapTable CQXResourceLoader::MakeTable(long appId, IXMLDOMDocument* document,
                                                         const std::vector<XMLMAP>& map,
                                                         std::vector<XMLMAP>& ofDocument) {
  // LoadXML returns early for an empty map, so the document's own table is a safeguard only.
  if (map.empty()) {
    CReturnValue<void> log(u"CQXResourceLoader::LoadXML", appId, true);
    log.LogDbg0(u"Mapping table contains no mappings. Altenative mapping searched.\n");
    const auto application = GetChildNode(appId, document, u"application", -1, true);
    const auto mapTable =
        application == nullptr ? nullptr : GetChildNode(appId, application, u"maptable", -1, true);
    if (mapTable != nullptr) {
      log.LogDbg0(u"Altenative mapping found in XML file.\n");
      GetXMLMapTable(appId, mapTable, ofDocument);
    }
  }
  MapTable table;
  table.reserve(map.size() + ofDocument.size());
  // The end row goes in as well: with its empty tag it serves attributes with an empty value.
  for (const XMLMAP& row : map) table.emplace(row.tag, &row);
  for (const XMLMAP& row : ofDocument) table.emplace(row.tag, &row);
  return table;
}

void CQXResourceLoader::RemoveMapTable(long appId, IXMLDOMDocument* document) {
  const auto application = GetChildNode(appId, document, u"application", -1, true);
  if (application == nullptr) return;
  const auto mapTable = GetChildNode(appId, application, u"maptable", -1, false);
  if (mapTable != nullptr) application->removeChild(mapTable);
}

// Makes one pass over the text, for the values of one attribute: `prefix@symbol`, or the symbol
// alone. A symbol without a row is no failure: numbers and literal UIDs, which need no row, arrive
// here too.
void CQXResourceLoader::FindAndReplace(qx::QuotedText& text, std::size_t attribute,
                                       const MapTable& map, HvLanguages language, long appId) {
  CReturnValue<CString> result(u"CQXResourceLoader::FindAndReplace", CString(), appId, false);
  const bool identifier = qx::kRewrittenAttributes[attribute].identifier;
  const std::u16string_view opener = kOpeners[attribute];
  const std::u16string_view bareName = opener.substr(0, opener.size() - 2);
  text.rewrite(attribute, [&](std::u16string_view value, const auto& line) {
    const std::size_t at = value.find(u'@');
    std::u16string out(value.substr(0, at == value.npos ? 0 : at));
    const std::u16string_view symbol = at == value.npos ? value : value.substr(at + 1);
    if (const auto row = map.find(symbol); row != map.end()) {
      const std::u16string replacement = Replacement(*row->second, identifier, language);
      result.LogDbg1(u"[%s]: '%s' => '%s'.\n", bareName, symbol, replacement);
      return out += replacement;
    }
    if (identifier) {
      result.LogDbg0(u"[%s]: no mapping defined for %s attribute [line=%d].\n", symbol, bareName,
                     line());
    }
    // The cut is to the symbol and its "@" alone; a prefix adds to the length.
    const std::u16string_view kept = value.substr(out.size());
    return out += identifier ? kept.substr(0, qx::kUidLength) : kept;
  });
  // The leaving line shows no more, and a form is long.
  result = CString(text.start(qx::kMaxLogMessage));
}

std::u16string CQXResourceLoader::Replacement(const XMLMAP& row, bool identifier,
                                              HvLanguages language) {
  if (identifier) {
    const std::string number = std::to_string(static_cast<std::int32_t>(row.id));
    return std::u16string(number.begin(), number.end()).substr(0, qx::kUidLength);
  }
  CQXBSTR text(language);
  // Escaped, so that no translation can break the XML.
  return qx::escapeXml(LoadStringW(text, row.id, language) ? text.View() : row.value);
}

long CQXResourceLoader::GetXMLMapTable(long appId, CComPtr<IXMLDOMNode> mapTable,
                                       std::vector<XMLMAP>& map) {
  // The scope's name differs from the function's; logs are searched for it.
  CReturnValue<long> hr(u"CQXUtil::GetXMLMapTable", 0, appId, false);
  const CComPtr<IXMLDOMNodeList> children = mapTable->childNodes();
  if (children->length() == 0) {
    hr.LogDbg0(u"Mapping table not defined in XML file.\n");
    return hr;
  }
  while (const CComPtr<IXMLDOMNode> node = children->nextNode()) {
    const CComBSTR name = node->baseName();
    if (name.View() != u"map") {
      hr.LogDbg0(u"Skipping node <%s>.\n", name);
      continue;
    }
    const CComBSTR tag = GetXMLAttributeValue(node, u"tag");
    const CComBSTR id = GetXMLAttributeValue(node, u"id");
    const CComBSTR value = GetXMLAttributeValue(node, u"value");
    if (!tag.IsEmpty() && !id.IsEmpty()) {
      map.emplace_back(std::u16string(tag.View()),
                       static_cast<std::uint32_t>(qx::leadingNumber(id.View())),
                       std::u16string(value.View()));
      hr.LogDbg0(u"Mapping added: '%s' '%s' '%s' \n", tag, id, value.View());
    } else if (!tag.IsEmpty()) {
      hr.LogWarning(u"ID for tag '%s' not provided. Skipping!\n", tag);
    }
  }
  return hr;
}

CComPtr<IXMLDOMNode> CQXResourceLoader::GetChildNode(long appId, CComPtr<IXMLDOMNode> parent,
                                                     CComBSTR name, long expectedChildren,
                                                     bool logMissing) {
  CReturnValue<CComPtr<IXMLDOMNode>> result(u"CQXResourceLoader::GetChildNode", nullptr, appId,
                                            false);
  const CComPtr<IXMLDOMNodeList> children = parent->childNodes();
  const long count = children->length();
  if (expectedChildren != -1 && count != expectedChildren) return result;
  for (long i = 0; i < count; ++i) {
    const CComPtr<IXMLDOMNode> child = children->item(i);
    if (qx::toLower(child->baseName().View()) == name.View()) {
      result = child;
      return result;
    }
  }
  if (logMissing) result.LogError(u"<%s> node not found.\n", name);
  return result;
}

CComBSTR CQXResourceLoader::GetXMLAttributeValue(CComPtr<IXMLDOMNode> node, CComBSTR name) {
  CReturnValue<CComBSTR> result(u"CQXResourceLoader::GetXMLAttributeValue", CComBSTR(), 0, false);
  const CComPtr<IXMLDOMNamedNodeMap> attributes = node->attributes();
  if (attributes == nullptr) return result;
  if (const CComPtr<IXMLDOMNode> attribute = attributes->getNamedItem(name)) {
    result = CComBSTR(attribute->text().View());
  }
  return result;
}

bool CQXResourceLoader::LoadStringW(CQXBSTR& out, unsigned int id, HvLanguages language) {
  CReturnValue<void> log(u"CQXResourceLoader::LoadStringW", 0, false);
  return out.LoadStringW(id, qx::windowsLanguageId(language), m_hModule);
}

bool CQXResourceLoader::LoadStringW(CQXBSTR& out, unsigned int id, unsigned short langId) {
  CReturnValue<void> log(u"CQXResourceLoader::LoadStringW", 0, false);
  return out.LoadStringW(id, langId, m_hModule);
}
