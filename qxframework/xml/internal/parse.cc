#include "qxframework/xml/internal/parse.h"

#include "qxframework/xml/internal/utf.h"
#include "qxframework/xml/internal/walk.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/uri.h>
#include <libxml/xmlerror.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

namespace qx::xml {
namespace {

constexpr HRESULT kFileNotFound = resultCode(0x80070002);

struct FreeParser {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

// Keeps the first error of a parse; later ones are often consequences of it. While it lives, it
// receives the errors of this thread, so that libxml2 prints nothing. The parser's own handler
// would not do: libxml2 reports errors of encodings only through the thread's.
class FaultCollector {
 public:
  explicit FaultCollector(xmlParserCtxt* parser)
      : parser_(parser),
        formerHandler_(xmlStructuredError),
        formerContext_(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(this, [](void* self, xmlError* error) {
      static_cast<FaultCollector*>(self)->take(*error);
    });
  }
  ~FaultCollector() { xmlSetStructuredErrorFunc(formerContext_, formerHandler_); }
  FaultCollector(const FaultCollector&) = delete;
  FaultCollector& operator=(const FaultCollector&) = delete;

  void refuse(std::string reason) {
    if (fault_.code < 0) return;
    fault_ = {E_FAIL, std::move(reason), 0, 0};
    placeAtParser();
  }
  const ParseFault& fault() const { return fault_; }

 private:
  // The document is not validated, and a namespace name need not be a URI.
  static bool counts(const xmlError& error) {
    if (error.level < XML_ERR_ERROR || error.code == XML_WAR_NS_URI) return false;
    return error.domain != XML_FROM_VALID && error.domain != XML_FROM_DTD;
  }
  void take(const xmlError& error) {
    if (!counts(error) || fault_.code < 0) return;
    const std::string reason = error.message == nullptr ? "" : error.message;
    fault_ = {E_FAIL, reason.ends_with('\n') ? reason : reason + '\n', error.line, error.int2};
    // Errors of encodings come without a position.
    if (error.line <= 0) placeAtParser();
    if (fault_.position < 1) fault_.position = 1;
  }
  void placeAtParser() {
    if (parser_->input == nullptr) return;
    fault_.line = parser_->input->line;
    fault_.position = parser_->input->col < 1 ? 1 : parser_->input->col;
  }

  xmlParserCtxt* parser_;
  xmlStructuredErrorFunc formerHandler_;
  void* formerContext_;
  ParseFault fault_;
};

// Ends the parse. The handlers are C functions, which an exception must not leave, so the reason
// goes to the collector.
void refuse(void* context, const char* reason) {
  auto* parser = static_cast<xmlParserCtxt*>(context);
  static_cast<FaultCollector*>(parser->_private)->refuse(reason);
  parser->wellFormed = 0;
  xmlStopParser(parser);
}

void refuseEntity(void* context, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
  refuse(context, "The declaration of an entity is not allowed.\n");
}

void refuseUnparsedEntity(void* context, const xmlChar*, const xmlChar*, const xmlChar*,
                          const xmlChar*) {
  refuse(context, "The declaration of an entity is not allowed.\n");
}

// A default value would be copied into every element of that name, so a short document could fill
// the memory as it could by entities.
void refuseAttributeDefault(void* context, const xmlChar*, const xmlChar*, int, int,
                            const xmlChar* value, xmlEnumeration* values) {
  xmlFreeEnumeration(values);  // the handler owns it
  if (value != nullptr) refuse(context, "A default value for an attribute is not allowed.\n");
}

// The default handlers would add a comment or an instruction of a document type declaration to the
// node for the declaration, and lose its memory because there is none.
void takeComment(void* context, const xmlChar* text) {
  if (static_cast<xmlParserCtxt*>(context)->inSubset == 0) xmlSAX2Comment(context, text);
}

void takeInstruction(void* context, const xmlChar* target, const xmlChar* text) {
  if (static_cast<xmlParserCtxt*>(context)->inSubset == 0)
    xmlSAX2ProcessingInstruction(context, target, text);
}

// Lets the parser read a document type declaration without storing it. Without the first handler
// there is no node for the declaration, so the default handlers of its parts would have no place to
// store to.
void passOverDocumentType(xmlSAXHandler& handler) {
  handler.internalSubset = nullptr;
  handler.externalSubset = nullptr;
  handler.elementDecl = nullptr;
  handler.notationDecl = nullptr;
  handler.attributeDecl = refuseAttributeDefault;
  handler.entityDecl = refuseEntity;
  handler.unparsedEntityDecl = refuseUnparsedEntity;
  handler.comment = takeComment;
  handler.processingInstruction = takeInstruction;
}

// Replaces each "&#38;" in the names of namespaces by "&". The parser does so itself in all other
// values.
void settleNamespaceNames(xmlNode* element) {
  constexpr std::string_view kAmpersand = "&#38;";
  for (xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
    std::string name(viewOfXml(ns->href));
    std::size_t at = name.find(kAmpersand);
    if (at == name.npos) continue;
    for (; at != name.npos; at = name.find(kAmpersand, at + 1)) {
      name.replace(at, kAmpersand.size(), "&");
    }
    xmlChar* const settled = xmlStrdup(asXml(name));
    if (settled == nullptr) throw std::bad_alloc();
    xmlFree(const_cast<xmlChar*>(ns->href));
    ns->href = settled;
  }
}

bool isCdata(const xmlNode* node) {
  return node != nullptr && node->type == XML_CDATA_SECTION_NODE;
}

void remove(xmlNode* node) {
  xmlUnlinkNode(node);
  xmlFreeNode(node);
}

// Removes a text and returns the node with which the walk continues. CDATA sections that become
// neighbours are joined, as they would be when the document is written and read again.
xmlNode* removeText(xmlNode* text, const xmlNode* root) {
  xmlNode* const before = text->prev;
  xmlNode* const after = text->next;
  xmlNode* const next = nextInTree(text, root);
  remove(text);
  if (!isCdata(before) || !isCdata(after)) return next;
  xmlNodeAddContent(before, after->content);
  remove(after);  // it was `next`
  return nextInTree(before, root);
}

// Brings the tree into the state that later operations rely on: no text of white space only, the
// true names of namespaces, no table of ids.
void finishTree(xmlDoc* document) {
  auto* root = reinterpret_cast<xmlNode*>(document);
  for (xmlNode* node = root; node != nullptr;) {
    if (node->type == XML_ELEMENT_NODE && node->nsDef != nullptr) settleNamespaceNames(node);
    // XML_PARSE_NOBLANKS only drops the blanks that the parser takes for indentation.
    const bool isBlank = node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 1;
    node = isBlank ? removeText(node, root) : nextInTree(node, root);
  }
  // The table points to attributes, which may be freed or move to another document.
  if (document->ids != nullptr) xmlFreeIDTable(static_cast<xmlIDTable*>(document->ids));
  document->ids = nullptr;
}

ParseFault faultWithoutPlace(HRESULT code, std::string reason) {
  return {code, std::move(reason), 0, 0};
}

ParseResult parseBytes(std::string_view bytes, int options) {
  if (bytes.size() > std::size_t{std::numeric_limits<int>::max()}) {
    return {nullptr, faultWithoutPlace(E_FAIL, "The document is too long.\n")};
  }
  // A static, so that the first parse of any thread initialises the library exactly once.
  static const bool initialised = (xmlInitParser(), true);
  static_cast<void>(initialised);
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
  if (parser == nullptr) throw std::bad_alloc();
  FaultCollector collector(parser.get());
  parser->_private = &collector;
  passOverDocumentType(*parser->sax);
  // Without XML_PARSE_HUGE, libxml2 bounds the nesting and the length of texts.
  DocumentHandle document(xmlCtxtReadMemory(parser.get(), bytes.data(),
                                            static_cast<int>(bytes.size()), nullptr, nullptr,
                                            XML_PARSE_NONET | XML_PARSE_NOBLANKS | options));
  if (collector.fault().code < 0) return {nullptr, collector.fault()};
  // No error was reported, but there is no document either; that must not pass for an empty one.
  if (document == nullptr) return {nullptr, {E_FAIL, "The document cannot be read.\n", 1, 1}};
  finishTree(document.get());
  return {std::move(document), {}};
}

// True for "scheme://" before any other slash; a file name may contain "://" after one.
bool hasScheme(const std::string& source) {
  const std::size_t colon = source.find("://");
  return colon != std::string::npos && source.find('/') > colon;
}

// Returns the path in a "file:" URL, without the host; `source` itself if it is not such a URL.
std::string pathOf(const std::string& source) {
  if (!source.starts_with("file:")) return source;
  std::string_view rest = std::string_view(source).substr(5);
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    rest.remove_prefix(std::min(rest.find('/'), rest.size()));
  }
  char* const plain = xmlURIUnescapeString(rest.data(), static_cast<int>(rest.size()), nullptr);
  if (plain == nullptr) throw std::bad_alloc();
  std::string path(plain);
  xmlFree(plain);
  return path;
}

ParseFault cannotRead(const std::string& source, std::error_code why) {
  HRESULT code = E_FAIL;
  if (why == std::errc::no_such_file_or_directory) code = kFileNotFound;
  if (why == std::errc::permission_denied) code = E_ACCESSDENIED;
  return faultWithoutPlace(code, "Cannot read " + source + ": " + why.message() + ".\n");
}

// Reads a whole regular file; stores an error in `why`. Other kinds of files are refused, since a
// pipe or a device may block or never end.
std::string readFile(const std::string& path, std::error_code& why) {
  const auto status = std::filesystem::status(path, why);
  if (why) return {};
  if (!std::filesystem::is_regular_file(status)) {
    why = std::make_error_code(std::filesystem::is_directory(status) ? std::errc::is_a_directory
                                                                     : std::errc::not_supported);
    return {};
  }
  errno = 0;  // the stream does not report why it fails, but the system call beneath it sets this
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) {
    why = std::error_code(errno == 0 ? EIO : errno, std::generic_category());
  }
  return bytes;
}

}  // namespace

ParseResult parseText(std::u16string_view text) {
  if (text.starts_with(u'\uFEFF')) text.remove_prefix(1);
  // A zero would end the text for libxml2, and the rest would be ignored without an error.
  const std::size_t zero = text.find(u'\0');
  if (zero != std::u16string_view::npos) {
    return {nullptr, faultWithoutPlace(E_FAIL, "The text holds a zero character.\n")};
  }
  const std::optional<std::string> bytes = strictUtf8(text);
  if (!bytes) {
    return {nullptr, faultWithoutPlace(E_FAIL, "The text is no well-formed UTF-16.\n")};
  }
  // The bytes are UTF-8 now, for any encoding that the declaration names.
  return parseBytes(*bytes, XML_PARSE_IGNORE_ENC);
}

ParseResult parseFile(const std::string& source) {
  if (hasScheme(source) && !source.starts_with("file:")) {
    return {nullptr, faultWithoutPlace(E_FAIL, "Cannot read " + source + ": not a file.\n")};
  }
  std::error_code why;
  const std::string bytes = readFile(pathOf(source), why);
  if (why) return {nullptr, cannotRead(source, why)};
  return parseBytes(bytes, 0);
}

}  // namespace qx::xml
