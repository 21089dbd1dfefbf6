// Measures LoadXML for a form of 200 items with its mapping, against libxml2 parsing, writing and
// parsing the same text.

#include "bench/form_text.h"
#include "bench/log_settings.h"
#include "bench/measure.h"
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
  const CComBSTR wide(qx::bench::formText(kItems));
  const std::string narrow = qx::toUtf8(wide.View());
  const std::vector<XMLMAP> map = qx::bench::formMap(kItems);
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
