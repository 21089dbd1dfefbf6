#pragma once

// The check of a form document against the strings of the module that shows it.

#include "qxframework/resources/xml_map.h"
#include "tools/formcheck/finding.h"
#include "tools/formcheck/texts.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {

/// What a check needs besides the document.
struct Setting {
  const Texts& texts;
  std::uint32_t language = kEnglish;  ///< a Windows language id
  std::vector<XMLMAP> symbols;        ///< rows that precede those of the document
};

struct Report {
  std::vector<Finding> findings;  ///< by place
  std::string drawing;            ///< empty if the document holds no form

  bool hasErrors() const;
};

/// Checks a document, given as the bytes of its file.
Report checkForm(std::string_view content, const Setting& setting);

}  // namespace qx::formcheck
