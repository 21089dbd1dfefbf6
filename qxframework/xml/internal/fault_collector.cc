#include "qxframework/xml/internal/fault_collector.h"

#include <new>
#include <utility>

namespace qx::xml {
namespace {

bool counts(const xmlError& error) {
  // libxml2 would read later versions of XML by the rules of 1.0, which differ.
  if (error.code == XML_WAR_UNKNOWN_VERSION) return true;
  // A namespace name need not be a URI, and the document is not validated.
  if (error.level < XML_ERR_ERROR || error.code == XML_WAR_NS_URI) return false;
  return error.domain != XML_FROM_VALID && error.domain != XML_FROM_DTD;
}

}  // namespace

FaultCollector::FaultCollector(xmlParserCtxt* parser)
    : parser_(parser),
      formerHandler_(xmlStructuredError),
      formerContext_(xmlStructuredErrorContext) {
  xmlSetStructuredErrorFunc(
      this, [](void* self, xmlError* error) { static_cast<FaultCollector*>(self)->take(*error); });
}

FaultCollector::~FaultCollector() { xmlSetStructuredErrorFunc(formerContext_, formerHandler_); }

void FaultCollector::note(std::string reason) {
  if (fault_.code < 0) return;
  fault_ = {E_FAIL, std::move(reason), 0, 0};
  placeAtParser();
}

void FaultCollector::refuse(std::string reason) {
  note(std::move(reason));
  parser_->wellFormed = 0;
  xmlStopParser(parser_);
}

// Nothing may be thrown through libxml2, which has no cleanup for it. The short reason fits into
// the string itself and so needs no memory.
void FaultCollector::take(const xmlError& error) noexcept try {
  if (!counts(error) || fault_.code < 0) return;
  const std::string reason = error.message == nullptr ? "" : error.message;
  fault_ = {E_FAIL, reason.ends_with('\n') ? reason : reason + '\n', error.line, error.int2};
  // Errors of encodings come without a position.
  if (error.line <= 0) placeAtParser();
  if (fault_.position < 1) fault_.position = 1;
} catch (const std::bad_alloc&) {
  fault_ = {E_OUTOFMEMORY, "No memory.\n", 0, 0};
}

void FaultCollector::placeAtParser() {
  if (parser_->input == nullptr) return;
  fault_.line = parser_->input->line;
  fault_.position = parser_->input->col < 1 ? 1 : parser_->input->col;
}

}  // namespace qx::xml
