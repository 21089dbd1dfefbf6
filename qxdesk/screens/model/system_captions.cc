#include "qxdesk/screens/model/system_captions.h"

#include "qxdesk/session/language_table.h"
#include "qxframework/os/module.h"
#include "qxframework/os/resources.h"

#include <cstddef>
#include <iterator>
#include <string_view>

namespace qx::screens {
namespace {

constexpr std::u16string_view kEnglish[] = {
    u"",
    u"File",
    u"Quit",
    u"Data",
    u"Find",
    u"Add",
    u"Delete",
    u"Next Record",
    u"Previous Record",
    u"First Record",
    u"Last Record",
    u"Sales",
    u"Sales Order",
    u"Customer",
    u"Add-Ons",
    u"OK",
    u"Cancel",
    u"Name",
    u"Posting Date",
    u"Status",
    u"Open",
    u"Closed",
    u"Item No.",
    u"Quantity",
    u"Unit Price",
    u"Code",
    u"Kind",
    u"Supplier",
    u"Lead",
    u"Main Menu",
};
static_assert(std::size(kEnglish) == static_cast<std::size_t>(Caption::End));

// The library, or a test program that has the tables, too.
HINSTANCE ownModule() {
  static const char anchor = 0;
  static const HINSTANCE module = moduleOf(&anchor);
  return module;
}

}  // namespace

std::u16string captionOf(Caption caption, HvLanguages language) {
  const auto id = static_cast<unsigned>(caption);
  const unsigned short table = desk::languageTable(language);
  if (caption != Caption::None && table != desk::kEnglishTable) {
    if (const auto found = findString(ownModule(), id, table)) return std::u16string(*found);
  }
  return std::u16string(kEnglish[id]);
}

}  // namespace qx::screens
