#pragma once

// A form in all languages on one sheet: an HTML file that needs no other file and no network. The
// forms on it are drawn by the code of the stand-in host's page, so that they look as they will.
// Texts that do not fit their place are marked.

#include "qxframework/resources/xml_map.h"
#include "tools/formcheck/texts.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx::web {
struct PageFile;
}

namespace qx::desk {

struct SheetOrder {
  std::string_view name;  ///< of the document, for messages and as the sheet's title
  std::string_view content;
  const formcheck::Texts& texts;
  std::vector<XMLMAP> symbols;
  std::span<const web::PageFile> page;  ///< the files of the host's page
  bool longerMayBeCut = false;          ///< a text that fits but for being lengthened is no error
};

struct FormSheet {
  std::string html;      ///< empty if the document holds no form
  std::string messages;  ///< one line for each text that does not fit
  bool allFits = true;   ///< no message is an error
};

/// Draws the form in each of the 25 languages that have string tables, and with English texts that
/// are 40 % longer.
FormSheet makeFormSheet(const SheetOrder& order);

}  // namespace qx::desk
