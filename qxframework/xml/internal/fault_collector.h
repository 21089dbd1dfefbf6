#pragma once

// Keeps the reason why a parse fails.

#include "qxframework/xml/internal/parse.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <string>

namespace qx::xml {

/// Keeps the first error of a parse; later ones are often consequences of it. While it lives, it
/// receives the errors of this thread, so that libxml2 prints nothing. The parser's own handler
/// would not do: libxml2 reports errors of encodings only through the thread's.
class FaultCollector {
 public:
  explicit FaultCollector(xmlParserCtxt* parser);
  ~FaultCollector();
  FaultCollector(const FaultCollector&) = delete;
  FaultCollector& operator=(const FaultCollector&) = delete;

  /// Keeps a reason of our own, a sentence that ends with a line end, with the parser's present
  /// place. The caller ends the parse.
  void note(std::string reason);
  /// Keeps the reason and ends the parse.
  void refuse(std::string reason);
  /// Returns the first error; its code is S_OK if there was none.
  const ParseFault& fault() const { return fault_; }

 private:
  void take(const xmlError& error) noexcept;
  void placeAtParser();

  xmlParserCtxt* parser_;
  xmlStructuredErrorFunc formerHandler_;
  void* formerContext_;
  ParseFault fault_;
};

}  // namespace qx::xml
