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
#include "qxframework/resources/rewritten_attributes.h"
#include "qxframework/resources/xml_text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

bool isIdentifier(std::u16string_view opener) {
  return std::any_of(
      std::begin(qx::kRewrittenAttributes), std::end(qx::kRewrittenAttributes),
      [opener](const auto& each) { return each.identifier && each.opener == opener; });
}

// Does what text.find(part, from) does, but with the search of the C library, which skips ahead
// instead of testing every position: a form is searched eleven times.
std::size_t findText(std::u16string_view text, std::u16string_view part, std::size_t from) {
  constexpr std::size_t kUnit = sizeof(char16_t);
  const char* const bytes = reinterpret_cast<const char*>(text.data());
  for (std::size_t at = from; at < text.size(); ++at) {
    const void* const found =
        memmem(bytes + at * kUnit, (text.size() - at) * kUnit, part.data(), part.size() * kUnit);
    if (found == nullptr) break;
    const auto offset = static_cast<std::size_t>(static_cast<const char*>(found) - bytes);
    at = offset / kUnit;
    if (offset % kUnit == 0) return at;  // otherwise the bytes matched across two units
  }
  return std::u16string_view::npos;
}

// Returns line numbers for positions that only move forward, so that the text is counted once. A
// line feed counts once the position has passed it.
class LineCounter {
 public:
  explicit LineCounter(std::u16string_view text) : text_(text) {}
  long lineAt(std::size_t position) {
    for (; next_ < position && next_ < text_.size(); ++next_) lines_ += text_[next_] == u'\n';
    return lines_;
  }

 private:
  std::u16string_view text_;
  std::size_t next_ = 0;
  long lines_ = 1;
};

// The value of one attribute in the text: `prefix@symbol`, or the symbol alone.
struct AttributeValue {
  std::size_t prefix;  // start of the value
  std::size_t symbol;  // start of the symbol; equal to `prefix` without a prefix
  std::size_t end;     // the closing quote
};

// Finds the value after the opener at `found`. Returns false if its quote never closes.
bool locateValue(std::u16string_view text, std::size_t found, std::size_t openerLength,
                 AttributeValue& value) {
  value.prefix = value.symbol = found + openerLength;
  value.end = text.find(u'"', value.symbol);
  if (value.end == std::u16string_view::npos) return false;
  const std::size_t at = text.substr(value.symbol, value.end - value.symbol).find(u'@');
  if (at != std::u16string_view::npos) value.symbol += at + 1;
  return true;
}

template <class Scope>
[[noreturn]] void failResource(Scope& hr, const OLECHAR* text, unsigned int id) {
  hr = E_INVALIDARG;
  hr.LogError(text, id);
  qx::raiseError(hr);
}

// Reads `source` into the document: a text without what precedes its first "<", such as a
// byte-order mark, or the file of that name.
bool parse(const CComBSTR& source, IXMLDOMDocument* document) {
  const std::u16string_view text = source.View();
  const std::size_t start = text.find(u'<');
  const VARIANT_BOOL parsed = start == std::u16string_view::npos
                                  ? document->load(CComVariant(source))
                                  : document->loadXML(CComBSTR(text.substr(start)));
  return parsed != VARIANT_FALSE;
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

  // The parsed text is rewritten, not the source: the parser has brought its quotes and entities
  // into one form, on which the openers rely.
  MapTable table;
  FillTable(appId, document, *map, table);
  CString text(document->xml());
  for (const qx::RewrittenAttribute& attribute : qx::kRewrittenAttributes) {
    FindAndReplace(text, attribute.opener, table, language, appId);
  }
  if (document->loadXML(CComBSTR(text.View())) == VARIANT_FALSE) {
    if (const auto path = qx::dumpForm(text.View()); !path.written) {
      hr.LogError(u"Failed to dump form to %s -- access rights?", path.name);
    }
    hr = E_INVALIDARG;
    hr.LogError(u"Load XML following localization failed. Strange!.\n");
    qx::raiseError(hr);
  }
  RemoveMapTable(appId, document);
  return hr;
}

void CQXResourceLoader::FillTable(long appId, IXMLDOMDocument* document,
                                  const std::vector<XMLMAP>& map, MapTable& table) {
  // The end row goes in as well: with its empty tag it serves attributes with an empty value.
  for (const XMLMAP& row : map) table.emplace(row.tag, row);
  // LoadXML returns early for an empty map, so what follows is a safeguard only.
  if (!table.empty()) return;
  CReturnValue<void> log(u"CQXResourceLoader::LoadXML", appId, true);
  log.LogDbg0(u"Mapping table contains no mappings. Altenative mapping searched.\n");
  const auto application = GetChildNode(appId, document, u"application", -1, true);
  if (application == nullptr) return;
  const auto mapTable = GetChildNode(appId, application, u"maptable", -1, true);
  if (mapTable == nullptr) return;
  log.LogDbg0(u"Altenative mapping found in XML file.\n");
  GetXMLMapTable(appId, mapTable, table);
}

void CQXResourceLoader::RemoveMapTable(long appId, IXMLDOMDocument* document) {
  const auto application = GetChildNode(appId, document, u"application", -1, true);
  if (application == nullptr) return;
  const auto mapTable = GetChildNode(appId, application, u"maptable", -1, false);
  if (mapTable != nullptr) application->removeChild(mapTable);
}

// Makes one pass over the text, for the values of one attribute. A symbol without a row is no
// failure: numbers and literal UIDs, which need no row, arrive here too.
void CQXResourceLoader::FindAndReplace(CString& text, std::u16string_view opener,
                                       const MapTable& map, HvLanguages language, long appId) {
  CReturnValue<CString> result(u"CQXResourceLoader::FindAndReplace", CString(), appId, false);
  const bool identifier = isIdentifier(opener);
  const std::u16string bareName(opener.substr(0, opener.size() - 2));
  const std::u16string_view all = text.View();
  LineCounter lines(all);
  std::u16string out;
  std::size_t copied = 0;
  AttributeValue value{};
  // The search runs over the old text, so this pass never finds an opener that it has written.
  for (std::size_t found = findText(all, opener, 0);
       found != std::u16string_view::npos && locateValue(all, found, opener.size(), value);
       found = findText(all, opener, value.end)) {
    const std::u16string symbol(all.substr(value.symbol, value.end - value.symbol));
    const auto row = map.find(symbol);
    CString replacement;
    if (row != map.end()) {
      replacement = Replacement(row->second, identifier, language);
      result.LogDbg1(u"[%s]: '%s' => '%s'.\n", bareName, symbol, replacement.GetString());
    } else {
      if (value.symbol != value.prefix) replacement += u"@";
      replacement += symbol;
      if (identifier) {
        result.LogDbg0(u"[%s]: no mapping defined for %s attribute [line=%d].\n", symbol, bareName,
                       lines.lineAt(value.end));
        // The cut is to the symbol alone; a prefix adds to the length.
        replacement = replacement.Left(qx::kUidLength);
      }
    }
    const std::size_t prefixEnd = value.symbol == value.prefix ? value.prefix : value.symbol - 1;
    if (out.empty()) out.reserve(all.size() + all.size() / 8);
    out += all.substr(copied, prefixEnd - copied);  // the unchanged text and the prefix
    out += replacement.View();
    copied = value.end;
  }
  if (copied > 0) {
    out += all.substr(copied);
    text = CString(std::move(out));
  }
  result = text.Left(qx::kMaxLogMessage);  // the leaving line shows no more, and a form is long
}

CString CQXResourceLoader::Replacement(const XMLMAP& row, bool identifier, HvLanguages language) {
  if (identifier) return CString(qx::format(u"%d", row.id)).Left(qx::kUidLength);
  CQXBSTR text(language);
  if (!LoadStringW(text, row.id, language)) text = CComBSTR(row.value);
  // Escaped, so that no translation can break the XML.
  return CString(qx::escapeXml(text.View()));
}

long CQXResourceLoader::GetXMLMapTable(long appId, CComPtr<IXMLDOMNode> mapTable, MapTable& map) {
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
      const std::u16string key(tag.View());
      map.emplace(key, XMLMAP(key, static_cast<std::uint32_t>(qx::leadingNumber(id.View())),
                              std::u16string(value.View())));
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
