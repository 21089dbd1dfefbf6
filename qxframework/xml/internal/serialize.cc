#include "qxframework/xml/internal/serialize.h"

#include "qxframework/xml/internal/utf.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace qx::xml {
namespace {

// The number of levels that are indented. Without a limit the text of a deep tree would be
// quadratic.
constexpr std::size_t kDeepestIndentation = 30;

// Returns the reference for `c` in a text or in an attribute value; empty if it is written as it
// is. A parser would change a carriage return anywhere, and line feeds and tabs in attribute
// values, so they are written as references. ">" always is one, because "]]>" must not occur in a
// text.
constexpr std::string_view referenceFor(char c, bool inAttribute) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";
    case '"':
      return inAttribute ? "&quot;" : "";
    case '\n':
      return inAttribute ? "&#10;" : "";
    case '\t':
      return inAttribute ? "&#9;" : "";
    default:
      return "";
  }
}

// Returns a table of the characters with a reference. Most texts have none of them, so they cost
// one look-up per character.
constexpr std::array<bool, 256> charactersToReplace(bool inAttribute) {
  std::array<bool, 256> out{};
  for (std::size_t c = 0; c < out.size(); ++c) {
    out[c] = !referenceFor(static_cast<char>(c), inAttribute).empty();
  }
  return out;
}
constexpr std::array<bool, 256> kReplacedInText = charactersToReplace(false);
constexpr std::array<bool, 256> kReplacedInAttribute = charactersToReplace(true);

bool isSection(const xmlNode* node) {
  return node != nullptr && node->type == XML_CDATA_SECTION_NODE;
}

bool isText(const xmlNode* node) { return node->type == XML_TEXT_NODE || isSection(node); }

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == text.npos; }

// True if the node is the first part of a text that is blank altogether. Texts without an element
// between them are several nodes if they were added by operations, and one text when read again.
bool beginsBlankText(const xmlNode* node) {
  const auto isPart = [](const xmlNode* part) {
    return part != nullptr && part->type == XML_TEXT_NODE;
  };
  std::string_view content = viewOfXml(node->content);
  if (content.empty() || !isBlank(content)) return false;
  const xmlNode* before = node->prev;
  for (; isPart(before); before = before->prev) {
    if (!viewOfXml(before->content).empty()) return false;
  }
  const xmlNode* after = node->next;
  for (; isPart(after); after = after->next) {
    if (!isBlank(viewOfXml(after->content))) return false;
  }
  return !isSection(before) || !isSection(after);
}

// Returns the element's own value of xml:space: true for "preserve", false for "default"; nothing
// if it has another value or none. An attribute that an operation has added has its prefix in its
// name.
std::optional<bool> keepsSpace(const xmlNode* element) {
  for (const xmlAttr* attr = element->properties; attr != nullptr; attr = attr->next) {
    const bool hasPrefix = attr->ns != nullptr && viewOfXml(attr->ns->prefix) == "xml";
    const auto* const wanted = reinterpret_cast<const xmlChar*>(hasPrefix ? "space" : "xml:space");
    // The first character saves most comparisons of this walk over all attributes.
    if (*attr->name != *wanted || xmlStrEqual(attr->name, wanted) == 0) continue;
    std::string value;
    for (const xmlNode* text = attr->children; text != nullptr; text = text->next) {
      value += viewOfXml(text->content);
    }
    if (value == "preserve") return true;
    if (value == "default") return false;
  }
  return std::nullopt;
}

// Appends one subtree to a text. It walks by the links of the nodes and not by recursion, because a
// tree that is built by operations may be deeper than the stack allows.
class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  void write(const xmlNode* root) {
    const xmlNode* node = root;
    while (true) {
      open(node);
      if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
        enter(node);
        node = node->children;
        breakLine();
        continue;
      }
      // Goes up past all elements that end here.
      while (node != root && node->next == nullptr) {
        node = node->parent;
        leave(node);
      }
      if (node == root) return;
      node = node->next;
      breakLine();
    }
  }

 private:
  void open(const xmlNode* node) {
    switch (node->type) {
      case XML_ELEMENT_NODE:
        openElement(node);
        break;
      case XML_TEXT_NODE:
        text(node);
        break;
      case XML_CDATA_SECTION_NODE:
        cdata(viewOfXml(node->content));
        break;
      case XML_COMMENT_NODE:
        put("<!--", viewOfXml(node->content), "-->");
        break;
      case XML_PI_NODE:
        instruction(node);
        break;
      case XML_ATTRIBUTE_NODE:
        attribute(reinterpret_cast<const xmlAttr*>(node));
        break;
      default:
        break;
    }
  }

  void openElement(const xmlNode* node) {
    out_ += '<';
    name(node->ns, node->name);
    for (const xmlNs* ns = node->nsDef; ns != nullptr; ns = ns->next) declaration(ns);
    for (const xmlAttr* attr = node->properties; attr != nullptr; attr = attr->next) {
      out_ += ' ';
      attribute(attr);
    }
    out_ += node->children == nullptr ? "/>" : ">";
  }

  void attribute(const xmlAttr* attr) {
    name(attr->ns, attr->name);
    out_ += "=\"";
    for (const xmlNode* text = attr->children; text != nullptr; text = text->next) {
      escape(viewOfXml(text->content), true);
    }
    out_ += '"';
  }

  void declaration(const xmlNs* ns) {
    put(" xmlns", ns->prefix == nullptr ? "" : ":", viewOfXml(ns->prefix));
    out_ += "=\"";
    escape(viewOfXml(ns->href), true);
    out_ += '"';
  }

  void instruction(const xmlNode* node) {
    put("<?", viewOfXml(node->name), "");
    if (!viewOfXml(node->content).empty()) put(" ", viewOfXml(node->content), "");
    out_ += "?>";
  }

  // A section cannot contain its own end, so such a text is written as two sections.
  void cdata(std::string_view text) {
    out_ += "<![CDATA[";
    for (std::size_t end = text.find("]]>"); end != text.npos; end = text.find("]]>")) {
      put(text.substr(0, end + 2), "]]><![CDATA[", "");
      text.remove_prefix(end + 2);
    }
    put(text, "]]>", "");
  }

  // A blank text would be dropped when it is read, so it is written with a character reference.
  void text(const xmlNode* node) {
    std::string_view content = viewOfXml(node->content);
    const bool kept = open_.empty() || open_.back().keepsSpace;
    if (!kept && beginsBlankText(node)) {
      put("&#", std::to_string(int{content.front()}), ";");
      content.remove_prefix(1);
    }
    escape(content, false);
  }

  void escape(std::string_view text, bool inAttribute) {
    const auto& replaced = inAttribute ? kReplacedInAttribute : kReplacedInText;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (!replaced[static_cast<unsigned char>(text[i])]) continue;
      put(text.substr(kept, i - kept), referenceFor(text[i], inAttribute), "");
      kept = i + 1;
    }
    out_ += text.substr(kept);
  }

  void name(const xmlNs* ns, const xmlChar* local) {
    if (ns != nullptr && ns->prefix != nullptr) put(viewOfXml(ns->prefix), ":", "");
    out_ += viewOfXml(local);
  }

  // Blanks count beside text and where they are preserved, so the content of such an element is
  // written on one line, with all descendants.
  void enter(const xmlNode* element) {
    Level level = open_.empty() ? Level() : open_.back();
    level.keepsSpace = keepsSpace(element).value_or(level.keepsSpace);
    level.oneLine = level.oneLine || level.keepsSpace;
    for (const xmlNode* child = element->children; child != nullptr && !level.oneLine;
         child = child->next) {
      level.oneLine = isText(child);
    }
    open_.push_back(level);
  }

  void leave(const xmlNode* element) {
    const bool oneLine = open_.back().oneLine;
    open_.pop_back();
    if (!oneLine) breakLineAt(open_.size());
    out_ += "</";
    name(element->ns, element->name);
    out_ += '>';
  }

  void breakLine() {
    if (!open_.back().oneLine) breakLineAt(open_.size());
  }
  void breakLineAt(std::size_t depth) {
    out_ += '\n';
    out_.append(2 * std::min(depth, kDeepestIndentation), ' ');
  }

  void put(std::string_view a, std::string_view b, std::string_view c) {
    out_ += a;
    out_ += b;
    out_ += c;
  }

  // An element that has been opened: its content on one line, its blank texts kept when read.
  struct Level {
    bool oneLine = false;
    bool keepsSpace = false;
  };

  std::string& out_;
  std::vector<Level> open_;
};

// Returns the declaration as it was read. libxml2 stores -1 in `standalone` if there was none, and
// -2 if there was one without that attribute.
std::string xmlDeclaration(const xmlDoc* document) {
  if (document->standalone == -1) return {};
  std::string out = "<?xml version=\"";
  out += viewOfXml(document->version);
  out += '"';
  if (document->standalone == 0) out += " standalone=\"no\"";
  if (document->standalone == 1) out += " standalone=\"yes\"";
  return out + "?>\n";
}

}  // namespace

std::string serialize(const xmlNode* node) {
  std::string out;
  if (node->type != XML_DOCUMENT_NODE) {
    Writer(out).write(node);
    return out;
  }
  if (node->children != nullptr) out = xmlDeclaration(reinterpret_cast<const xmlDoc*>(node));
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    Writer(out).write(child);
    out += '\n';
  }
  return out;
}

std::string qualifiedName(const xmlNode* node) {
  std::string out;
  if (node->ns != nullptr && node->ns->prefix != nullptr) {
    out += viewOfXml(node->ns->prefix);
    out += ':';
  }
  out += viewOfXml(node->name);
  return out;
}

}  // namespace qx::xml
