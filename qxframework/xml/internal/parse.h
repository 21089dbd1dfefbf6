#pragma once

// From bytes to a tree, with the limits and refusals that a document from outside needs: nothing
// is fetched, no entity is declared or expanded, nesting and text lengths are bounded.

#include "qxframework/automation/types.h"

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>

namespace qx::xml {

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using DocumentHandle = std::unique_ptr<xmlDoc, FreeDocument>;

struct ParseFault {
  HRESULT code = S_OK;
  std::string reason;  // ends with a line end
  long line = 0;       // counted from 1, 0 when the fault has no place
  long position = 0;
};

struct ParseResult {
  DocumentHandle document;  // null after a fault
  ParseFault fault;
};

/// Parses wide text, whatever encoding its declaration names.
ParseResult parseText(std::u16string_view text);
/// Parses a file given by path or "file:" URL, in the encoding of its mark or declaration.
ParseResult parseFile(const std::string& source);

}  // namespace qx::xml
