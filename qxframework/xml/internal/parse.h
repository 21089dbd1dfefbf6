#pragma once

// Parses bytes into a tree, with the limits that a document from outside needs: nothing is fetched,
// no entity is declared or expanded, nesting, text lengths and default values are bounded.

#include "qxframework/automation/types.h"

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>

namespace qx::xml {

/// Frees a document that no tree owns.
struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using DocumentHandle = std::unique_ptr<xmlDoc, FreeDocument>;

/// The reason why a document was refused; the code is S_OK if it was read.
struct ParseFault {
  HRESULT code = S_OK;
  std::string reason;  // ends with a line end
  long line = 0;       // counted from 1; 0 if the fault has no position
  long position = 0;
};

/// A document or a fault.
struct ParseResult {
  DocumentHandle document;  // null after a fault
  ParseFault fault;
};

/// Parses wide text; ignores the encoding in its declaration.
ParseResult parseText(std::u16string_view text);
/// Parses a file, given as a path or "file:" URL, in the encoding of its byte-order mark or
/// declaration.
ParseResult parseFile(const std::string& source);

}  // namespace qx::xml
