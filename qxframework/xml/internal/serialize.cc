#include "qxframework/xml/internal/serialize.h"

#include "qxframework/xml/internal/utf.h"

#include <algorithm>
#include <array>
#include <string_view>

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

bool isText(const xmlNode* node) {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

// Writes one subtree. It walks by the links of the nodes and not by recursion, because a tree that
// is built by operations may be deeper than the stack allows.
class Writer {
 public:
  std::string write(const xmlNode* root) {
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
      if (node == root) return std::move(out_);
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
        escape(viewOfXml(node->content), false);
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

  // Blanks count beside text, so an element with text among its children is written on one line,
  // and so are all its descendants.
  void enter(const xmlNode* element) {
    ++depth_;
    if (oneLineDepth_ != 0) return;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
      if (!isText(child)) continue;
      oneLineDepth_ = depth_;
      return;
    }
  }

  void leave(const xmlNode* element) {
    const bool oneLine = oneLineDepth_ != 0;
    if (oneLineDepth_ == depth_) oneLineDepth_ = 0;
    --depth_;
    if (!oneLine) breakLineAt(depth_);
    out_ += "</";
    name(element->ns, element->name);
    out_ += '>';
  }

  void breakLine() {
    if (oneLineDepth_ == 0) breakLineAt(depth_);
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

  std::string out_;
  std::size_t depth_ = 0;
  std::size_t oneLineDepth_ = 0;  // the depth of the outermost children beside text; 0 if none
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
  if (node->type != XML_DOCUMENT_NODE) return Writer().write(node);
  std::string out;
  if (node->children != nullptr) out = xmlDeclaration(reinterpret_cast<const xmlDoc*>(node));
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    out += Writer().write(child);
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
