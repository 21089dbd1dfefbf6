#pragma once

// The places of tags and attributes in an XML text. The parser behind the document reports at most
// the line of an element, so the text is scanned a second time. The scan relies on the parser's
// verdict: it checks nothing.

#include "tools/formcheck/finding.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {

struct ScannedAttribute {
  std::u16string name;
  Place place;       ///< of the name
  Place valuePlace;  ///< of the first character within the quotes
};

struct ScannedTag {
  std::u16string name;  ///< with its prefix
  Place place;          ///< of the "<"
  std::vector<ScannedAttribute> attributes;
};

/// Returns the start tags of a well-formed text in their order. For any other text the result means
/// nothing.
std::vector<ScannedTag> scanTags(std::u16string_view text);

}  // namespace qx::formcheck
