#pragma once

// A form of many items with its symbol table, for programs that measure forms.

#include "qxframework/automation/format.h"
#include "qxframework/resources/xml_map.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qx::bench {

/// Returns the document of a form with `items` labels.
inline std::u16string formText(int items) {
  std::u16string text =
      u"<?xml version=\"1.0\"?>\n<Application><forms><action type=\"add\"><form "
      u"uid=\"QX_FORM\" title=\"QX_TITLE\" default_button=\"0\" left=\"410\" top=\"152\" "
      u"width=\"405\" height=\"190\"><items><action type=\"add\">\n";
  for (int i = 0; i < items; ++i) {
    text += qx::format(
        u"<item uid=\"QX_ITEM_%d\" type=\"8\" left=\"10\" tab_order=\"0\" width=\"230\" top=\"%d\" "
        u"height=\"14\" visible=\"1\" enabled=\"1\" from_pane=\"0\" to_pane=\"0\" "
        u"linkto=\"QX_ITEM_%d\">"
        u"<specific caption=\"QX_TEXT_%d\"/></item>\n",
        i, 20 + i * 15, i + 1, i);
  }
  return text + u"</action></items></form></action></forms></Application>\n";
}

/// Returns the symbol table of that form with its closing row.
inline std::vector<XMLMAP> formMap(int items) {
  std::vector<XMLMAP> map;
  const auto add = [&map](const std::u16string& symbol, std::uint32_t id,
                          const std::u16string& text) {
    XMLMAP row;
    row.tag = symbol;
    row.id = id;
    row.value = text;
    map.push_back(row);
  };
  add(u"QX_FORM", 1, u"");
  add(u"QX_TITLE", 2, u"A form");
  for (int i = 0; i < items; ++i) {
    const auto number = static_cast<std::uint32_t>(i);
    add(qx::format(u"QX_ITEM_%d", i), 1000 + number, u"");
    add(qx::format(u"QX_TEXT_%d", i), 5000 + number, qx::format(u"Text number %d", i));
  }
  map.emplace_back();
  return map;
}

}  // namespace qx::bench
