#pragma once

// Parses bytes into a tree, with the limits that a document from outside needs: nothing is fetched,
// no entity is declared or expanded; size, nesting, text lengths, attributes, namespaces and
// default values are bounded.

#include "qxframework/automation/types.h"

#include <libxml/tree.h>

#include <memory>
#include <optional>
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

class TagHandler;

/// Parses wide text; ignores the encoding in its declaration.
ParseResult parseText(std::u16string_view text);
/// Passes the elements of a wide text, converted to `utf8`, to a handler instead of making a tree.
/// What the handler throws ends the parse and is thrown here.
ParseFault parseTags(const std::string& utf8, TagHandler& tags);
/// Returns the UTF-8 of a text that may be a document; nothing, and the reason in `fault`, for one
/// that cannot.
std::optional<std::string> documentBytes(std::u16string_view text, ParseFault& fault);
/// Parses a file, given as a path or "file:" URL, in the encoding of its byte-order mark or
/// declaration.
ParseResult parseFile(const std::string& source);

}  // namespace qx::xml
