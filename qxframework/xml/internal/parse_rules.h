#pragma once

// The rules by which a document is read, where they differ from those of libxml2: what a document
// type declaration may do, how deep elements may be nested, and which white space is kept.

#include "qxframework/xml/internal/fault_collector.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstddef>
#include <exception>
#include <string_view>

namespace qx::xml {

class TagHandler;

/// Makes a parser follow the rules as long as it lives. A document that breaks one ends the parse,
/// and `faults` has the reason.
class ParseRules {
 public:
  /// With `tags`, the elements go to it and no tree is made.
  ParseRules(xmlParserCtxt* parser, FaultCollector& faults, TagHandler* tags = nullptr);
  ParseRules(const ParseRules&) = delete;
  ParseRules& operator=(const ParseRules&) = delete;

  /// The parts of a start tag as the parser passes them to its handler: the namespace declarations
  /// in pairs of prefix and name, the attributes in groups of five with the defaulted ones last.
  struct StartTag {
    int namespaceCount;
    const xmlChar** namespaces;
    int attributeCount;
    int defaultedCount;
    const xmlChar** attributes;
  };
  /// One of the groups of five.
  struct Attribute {
    explicit Attribute(const xmlChar** parts);
    std::string_view name;
    std::string_view prefix;
    std::string_view value;
  };
  /// Runs `work` on the handler of the tags. What it throws must not pass through libxml2: it ends
  /// the parse and waits for rethrow().
  template <class Work>
  void pass(const Work& work) {
    try {
      work(*tags_);
    } catch (...) {
      giveUp();
    }
  }
  void rethrow() const;
  /// Checks the declaration of a default value.
  void checkDefault(const xmlChar* attribute, const xmlChar* value);
  /// Returns false if the element breaks a rule and must not become a part of the tree.
  bool admitElement(const StartTag& tag);
  /// Returns false if the start tag that the parser is reading has too many attributes or
  /// namespaces already. May be called by the input of the parser only, which must end then.
  bool admitUnfinishedTag();
  /// True if the whole document is in the parser's buffer from the start.
  bool hasWholeInput() const { return wholeInput_; }
  void expectPieces() { wholeInput_ = false; }
  /// Ends the parse for a reason that ends with a line end.
  void refuse(const char* reason) { faults_.refuse(reason); }

 private:
  void giveUp();
  const char* excessIn(int attributes) const;
  void countDefaults(const StartTag& tag);

  xmlParserCtxt* parser_;
  FaultCollector& faults_;
  TagHandler* tags_;
  std::exception_ptr thrown_;
  bool wholeInput_ = true;
  int defaults_ = 0;            // default values that the document declares
  std::size_t addedBytes_ = 0;  // the text that they have added to the document
};

/// Receives the elements of a document while it is parsed.
class TagHandler {
 public:
  virtual ~TagHandler() = default;
  /// Takes a start tag; `position` is a byte of it behind the name.
  virtual void startElement(std::string_view name, const ParseRules::StartTag& tag,
                            std::size_t position) = 0;
  virtual void endElement() = 0;
};

/// Brings a tree that was read by the rules into the state that later operations rely on: no text
/// of white space only but the one that is kept, and the true names of namespaces.
void finishTree(xmlDoc* document);

}  // namespace qx::xml
