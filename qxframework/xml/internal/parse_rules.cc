#include "qxframework/xml/internal/parse_rules.h"

#include "qxframework/xml/internal/utf.h"
#include "qxframework/xml/internal/walk.h"

#include <libxml/SAX2.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace qx::xml {
namespace {

constexpr int kMostLevels = 255;

// Each element with defaults gets its own copy of them, and libxml2 compares all attributes of an
// element with each other. Within these limits, a short document cannot fill the memory or take
// more time than a long one without defaults.
constexpr int kMostDefaults = 1'000;
constexpr std::size_t kMostAddedBytes = 10'000'000;

// libxml2 compares the attributes of an element with each other, and looks for a prefix in all
// declarations around an element. Without limits, 400 KB of attributes take 15 seconds.
constexpr int kMostAttributes = 2'000;  // of an element, with its declarations of namespaces
constexpr int kMostNamespaces = 500;    // declared by an element and those around it

// How the parser stores them: an attribute is five pointers, a declaration a prefix and a name.
constexpr int kPartsOfAttribute = 5;
constexpr int kPartsOfNamespace = 2;

xmlParserCtxt& parserOf(void* context) { return *static_cast<xmlParserCtxt*>(context); }
ParseRules& rulesOf(void* context) { return *static_cast<ParseRules*>(parserOf(context)._private); }

// --- the document type declaration -----------------------------------------------------------

void refuseEntity(void* context, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
  rulesOf(context).refuse("The declaration of an entity is not allowed.\n");
}

void refuseUnparsedEntity(void* context, const xmlChar*, const xmlChar*, const xmlChar*,
                          const xmlChar*) {
  rulesOf(context).refuse("The declaration of an entity is not allowed.\n");
}

// The parser itself keeps the default values and adds them to the start tags.
void declareAttribute(void* context, const xmlChar*, const xmlChar* attribute, int, int,
                      const xmlChar* value, xmlEnumeration* values) {
  xmlFreeEnumeration(values);  // the handler owns it
  if (value != nullptr) rulesOf(context).checkDefault(attribute, value);
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
  handler.attributeDecl = declareAttribute;
  handler.entityDecl = refuseEntity;
  handler.unparsedEntityDecl = refuseUnparsedEntity;
  handler.comment = takeComment;
  handler.processingInstruction = takeInstruction;
}

bool isReservedNamespace(std::string_view name) {
  return name == "http://www.w3.org/XML/1998/namespace" || name == "http://www.w3.org/2000/xmlns/";
}

bool isPossibleDefault(std::string_view attribute, std::string_view value) {
  if (attribute == "xmlns") return !isReservedNamespace(value);
  if (!attribute.starts_with("xmlns:")) return true;
  const std::string_view prefix = attribute.substr(attribute.find(':') + 1);
  return prefix != "xml" && prefix != "xmlns" && !value.empty() && !isReservedNamespace(value);
}

// --- input -------------------------------------------------------------------------------------

// All bytes of a short document are in the parser's buffer, unless it converts them from another
// encoding as it goes. Without a source the parser does not ask for more at every step near the end
// of the buffer, which takes a fourth of the time of a short document.
void startDocument(void* context) {
  xmlSAX2StartDocument(context);
  const xmlParserCtxt& parser = parserOf(context);
  if (!rulesOf(context).hasWholeInput()) return;
  if (parser.inputNr != 1 || parser.input->buf == nullptr) return;
  if (parser.input->buf->encoder == nullptr) parser.input->buf->readcallback = nullptr;
}

// --- elements ----------------------------------------------------------------------------------

void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                  int namespaceCount, const xmlChar** namespaces, int attributeCount,
                  int defaultedCount, const xmlChar** attributes) {
  const ParseRules::StartTag tag{namespaceCount, namespaces, attributeCount, defaultedCount,
                                 attributes};
  if (!rulesOf(context).admitElement(tag)) return;
  // As none is said to be defaulted, libxml2 adds all of them to the tree. It would leave out the
  // defaulted ones unless it were asked for external declarations too.
  xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount, 0,
                        attributes);
}

void passOnStart(void* context, const xmlChar* name, const xmlChar*, const xmlChar*,
                 int namespaceCount, const xmlChar** namespaces, int attributeCount,
                 int defaultedCount, const xmlChar** attributes) {
  const ParseRules::StartTag tag{namespaceCount, namespaces, attributeCount, defaultedCount,
                                 attributes};
  if (!rulesOf(context).admitElement(tag)) return;
  const xmlParserInput& input = *parserOf(context).input;
  const auto position = input.consumed + static_cast<std::size_t>(input.cur - input.base);
  rulesOf(context).pass(
      [&](TagHandler& tags) { tags.startElement(viewOfXml(name), tag, position); });
}

void passOnEnd(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  // After a refusal the parser closes nothing more.
  rulesOf(context).pass([](TagHandler& tags) { tags.endElement(); });
}

// Only the elements are wanted. Comments have a handler all the same: without one the parser does
// not read their text, which it quotes when it refuses a comment.
void passOnElements(xmlSAXHandler& handler) {
  handler.startElementNs = passOnStart;
  handler.endElementNs = passOnEnd;
  handler.characters = nullptr;
  handler.ignorableWhitespace = nullptr;
  handler.cdataBlock = nullptr;
  handler.comment = [](void*, const xmlChar*) {};
  handler.processingInstruction = nullptr;
}

// --- white space -------------------------------------------------------------------------------

// The mark of a text that is kept even if it is blank, in a field that is free while a document is
// read.
char keptMark;

bool isBlank(xmlChar c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// True if `piece` stays in the document although it is blank: below xml:space="preserve", or if it
// is a character reference. The parser passes each reference as a piece of its own and has just
// read its semicolon. A blank piece after other text may look the same, but that text is kept too.
bool isKept(const xmlParserCtxt& parser, const xmlChar* piece, int length) {
  if (parser.space != nullptr && *parser.space == 1) return true;
  const xmlParserInput& input = *parser.input;
  return length == 1 && isBlank(*piece) && input.cur > input.base && input.cur[-1] == ';';
}

void addText(void* context, const xmlChar* piece, int length) {
  xmlSAX2Characters(context, piece, length);
  xmlParserCtxt& parser = parserOf(context);
  if (parser.node == nullptr || !isKept(parser, piece, length)) return;
  xmlNode* const text = parser.node->last;
  if (text != nullptr && text->type == XML_TEXT_NODE) text->_private = &keptMark;
}

bool isSection(const xmlNode* node) {
  return node != nullptr && node->type == XML_CDATA_SECTION_NODE;
}

// Drops a blank piece that libxml2 takes for indentation at once, so that no node is made for it.
// Two kinds may be part of what is kept: a piece that ends at a carriage return, after which more
// of the same text follows, and one after a section.
void passOverIndentation(void* context, const xmlChar* piece, int length) {
  const xmlParserCtxt& parser = parserOf(context);
  const bool isWhole = *parser.input->cur == '<';
  const bool followsSection = parser.node != nullptr && isSection(parser.node->last);
  if (!isWhole || followsSection) addText(context, piece, length);
}

// True for a blank text that is dropped. Between two sections it is kept, since the text around it
// is written as content.
bool isDropped(xmlNode* text) {
  const bool marked = std::exchange(text->_private, nullptr) != nullptr;
  if (marked || xmlIsBlankNode(text) == 0) return false;
  return !isSection(text->prev) || !isSection(text->next);
}

xmlNode* removeNode(xmlNode* node, const xmlNode* root) {
  xmlNode* const next = nextInTree(node, root);
  xmlUnlinkNode(node);
  xmlFreeNode(node);
  return next;
}

// --- namespaces --------------------------------------------------------------------------------

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

}  // namespace

ParseRules::Attribute::Attribute(const xmlChar** parts)
    : name(viewOfXml(parts[0])),
      prefix(viewOfXml(parts[1])),
      value(reinterpret_cast<const char*>(parts[3]),
            static_cast<std::size_t>(parts[4] - parts[3])) {}

ParseRules::ParseRules(xmlParserCtxt* parser, FaultCollector& faults, TagHandler* tags)
    : parser_(parser), faults_(faults), tags_(tags) {
  parser->_private = this;
  parser->sax->startDocument = startDocument;
  passOverDocumentType(*parser->sax);
  if (tags != nullptr) {
    passOnElements(*parser->sax);
    return;
  }
  parser->sax->startElementNs = startElement;
  parser->sax->characters = addText;
  parser->sax->ignorableWhitespace = passOverIndentation;
}

// The parser checks the names and namespaces of the attributes in a tag, but not of defaulted ones.
void ParseRules::checkDefault(const xmlChar* attribute, const xmlChar* value) {
  if (xmlValidateQName(attribute, 0) != 0) {
    refuse("A default value has an attribute with an impossible name.\n");
  } else if (!isPossibleDefault(viewOfXml(attribute), viewOfXml(value))) {
    refuse("A default value declares a namespace that is not allowed.\n");
  } else if (++defaults_ > kMostDefaults) {
    refuse("There are more than 1000 default values for attributes.\n");
  }
}

bool ParseRules::admitElement(const StartTag& tag) {
  // Without a table of ids, which would point to attributes that may be freed or move to another
  // document. Set at the root, since before it the flag would ask for external declarations.
  if (parser_->nameNr == 0) parser_->loadsubset |= XML_SKIP_IDS;
  // The new element is not among the open ones yet.
  if (parser_->nameNr >= kMostLevels) {
    refuse("The elements are nested more than 255 levels deep.\n");
    return false;
  }
  if (const char* excess = excessIn(tag.attributeCount + tag.namespaceCount)) {
    refuse(excess);
    return false;
  }
  if (defaults_ == 0) return true;
  countDefaults(tag);
  if (addedBytes_ <= kMostAddedBytes) return true;
  refuse("The default values for attributes add more than 10000000 bytes to the document.\n");
  return false;
}

const char* ParseRules::excessIn(int attributes) const {
  if (attributes > kMostAttributes) {
    return "An element has more than 2000 attributes and declarations of namespaces.\n";
  }
  if (parser_->nsNr > kPartsOfNamespace * kMostNamespaces) {
    return "More than 500 declarations of namespaces hold for an element.\n";
  }
  return nullptr;
}

// The handlers hear of a tag when all of it has been read and compared. Until then the parser's
// array of attributes tells their number: it is doubled when it is full, so at least half of it has
// been in use. The parser is in the middle of its work and must not be stopped.
bool ParseRules::admitUnfinishedTag() {
  const char* excess = excessIn(parser_->maxatts / (2 * kPartsOfAttribute));
  if (excess != nullptr) faults_.note(excess);
  return excess == nullptr;
}

// Counts what a writer would write for the defaulted attributes. The parser does not tell which
// declarations of namespaces are defaulted, so all of them count.
void ParseRules::countDefaults(const StartTag& tag) {
  constexpr std::size_t kPunctuation = 4;  // a blank, "=" and two quotes
  for (int i = tag.attributeCount - tag.defaultedCount; i < tag.attributeCount; ++i) {
    const Attribute attribute(tag.attributes + kPartsOfAttribute * std::ptrdiff_t{i});
    addedBytes_ += attribute.name.size() + attribute.prefix.size() + attribute.value.size();
    addedBytes_ += kPunctuation;
    // The parser itself heeds xml:space only in the text of a tag.
    if (attribute.prefix != "xml" || attribute.name != "space") continue;
    if (attribute.value == "preserve") *parser_->space = 1;
    if (attribute.value == "default") *parser_->space = 0;
  }
  for (int i = 0; i < 2 * tag.namespaceCount; ++i) {
    addedBytes_ += viewOfXml(tag.namespaces[i]).size() + kPunctuation;
  }
}

// Keeps the exception that is being handled.
void ParseRules::giveUp() {
  thrown_ = std::current_exception();
  refuse("The document was given up.\n");
}

void ParseRules::rethrow() const {
  if (thrown_ != nullptr) std::rethrow_exception(thrown_);
}

void finishTree(xmlDoc* document) {
  auto* root = reinterpret_cast<xmlNode*>(document);
  for (xmlNode* node = root; node != nullptr;) {
    if (node->type == XML_ELEMENT_NODE && node->nsDef != nullptr) settleNamespaceNames(node);
    const bool dropped = node->type == XML_TEXT_NODE && isDropped(node);
    node = dropped ? removeNode(node, root) : nextInTree(node, root);
  }
}

}  // namespace qx::xml
