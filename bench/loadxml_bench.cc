// Measures LoadXML for a form of 200 items with its mapping, against libxml2 parsing, writing and
// parsing the same text.

#include "bench/log_settings.h"
#include "bench/measure.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/xml/dom.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <string>
#include <vector>

namespace {

constexpr int kItems = 200;
constexpr int kRounds = 30;
constexpr int kLoads = 5;

std::u16string formText() {
  std::u16string text =
      u"<?xml version=\"1.0\"?>\n<Application><forms><action type=\"add\"><form "
      u"uid=\"QX_FORM\" title=\"QX_TITLE\" default_button=\"1\" left=\"410\" top=\"152\" "
      u"width=\"405\" height=\"190\"><items><action type=\"add\">\n";
  for (int i = 0; i < kItems; ++i) {
    text += qx::format(
        u"<item uid=\"QX_ITEM_%d\" type=\"8\" left=\"10\" tab_order=\"0\" width=\"230\" top=\"%d\" "
        u"height=\"14\" visible=\"1\" enabled=\"1\" from_pane=\"0\" to_pane=\"0\" "
        u"linkto=\"QX_ITEM_%d\">"
        u"<specific caption=\"QX_TEXT_%d\"/></item>\n",
        i, 20 + i * 15, i + 1, i);
  }
  return text + u"</action></items></form></action></forms></Application>\n";
}

std::vector<XMLMAP> formMap() {
  std::vector<XMLMAP> map{{u"QX_FORM", 1, u""}, {u"QX_TITLE", 2, u"A form"}};
  for (std::uint32_t i = 0; i < kItems; ++i) {
    map.emplace_back(qx::format(u"QX_ITEM_%d", i), 1000 + i, u"");
    map.emplace_back(qx::format(u"QX_TEXT_%d", i), 5000 + i, qx::format(u"Text number %d", i));
  }
  map.emplace_back();  // an empty entry ends a map
  return map;
}

void loadOurs(const CComBSTR& text, const std::vector<XMLMAP>& map) {
  CQXResourceLoader loader;
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(1, text, document, &map, ln_English);
  qx::bench::keep(document.p);
}

void loadPeer(const std::string& text) {
  const auto parse = [](const char* bytes, int size) {
    return xmlReadMemory(bytes, size, nullptr, "UTF-8", XML_PARSE_NOBLANKS | XML_PARSE_NONET);
  };
  xmlDoc* document = parse(text.data(), static_cast<int>(text.size()));
  xmlChar* written = nullptr;
  int size = 0;
  xmlDocDumpMemory(document, &written, &size);
  xmlFreeDoc(document);
  document = parse(reinterpret_cast<const char*>(written), size);
  qx::bench::keep(document);
  xmlFree(written);
  xmlFreeDoc(document);
}

}  // namespace

int main() {
  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Error, 1)) return 1;
  const CComBSTR wide(formText());
  const std::string narrow = qx::toUtf8(wide.View());
  const std::vector<XMLMAP> map = formMap();
  const auto best = qx::bench::compare(
      kRounds,
      [&] {
        for (int i = 0; i < kLoads; ++i) loadOurs(wide, map);
      },
      [&] {
        for (int i = 0; i < kLoads; ++i) loadPeer(narrow);
      });
  std::printf("loadxml: ours %.0f us, libxml2 %.0f us\n", best.ours / kLoads * 1e6,
              best.peer / kLoads * 1e6);
  qx::bench::printRatio("loadxml", best.ratio());
  return 0;
}
