// Arbitrary form documents, in which a symbol table replaces the names. The first byte selects the
// rows of the table. The result must be a document whose text can be parsed again, or an
// E_INVALIDARG.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/resources/narrow_text.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

std::vector<XMLMAP> tableOf(unsigned choice) {
  std::vector<XMLMAP> rows;
  if (choice & 1U) rows.emplace_back(u"A", 1, u"text & <markup> \"'");
  if (choice & 2U) rows.emplace_back(u"QX_MNU_LOGGING", 302, u"Log settings");
  if (choice & 4U) rows.emplace_back(u"C", 0xFFFFFFFE, u"\x01 no XML may hold this");
  if (choice & 8U) rows.emplace_back(u"", 7, u"empty");
  if (choice & 16U) rows.emplace_back();
  return rows;
}

void load(const std::u16string& text, const std::vector<XMLMAP>& map) {
  CQXResourceLoader loader;
  CComPtr<IXMLDOMDocument> document;
  require(loader.LoadXML(7, CComBSTR(text), document, &map, ln_English) == S_OK);
  CComPtr<IXMLDOMDocument> again;
  require(qx::createDocument(&again) == S_OK);
  require(again->loadXML(document->xml()) == VARIANT_TRUE);
  require(again->xml().View() == document->xml().View());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The loader dumps a localised text that it cannot parse into the temporary folder. No file can
  // be created in /proc/self, so fuzzing leaves none.
  static const int prepared = setenv("TMPDIR", "/proc/self", 1);
  require(prepared == 0);
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::u16string text = qx::textOfResource(bytes);
  if (text.find(u'<') == std::u16string::npos)
    return 0;  // the loader would take it for a file name
  try {
    load(text, tableOf(data[0]));
  } catch (const _com_error& error) {
    require(error.Error() == E_INVALIDARG);
  }
  return 0;
}
