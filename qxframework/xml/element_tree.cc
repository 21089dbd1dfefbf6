#include "qxframework/xml/element_tree.h"

#include "qxframework/automation/text.h"
#include "qxframework/xml/internal/parse.h"
#include "qxframework/xml/internal/parse_rules.h"

#include <cstddef>
#include <utility>

namespace qx::xml {
namespace {

/// Finds line and column of positions that only move forward, so that the text is counted once.
class PlaceCounter {
 public:
  explicit PlaceCounter(std::string_view utf8) : utf8_(utf8) {}
  void moveTo(std::size_t position) {
    for (; next_ < position && next_ < utf8_.size(); ++next_) {
      if (utf8_[next_] == '\n') {
        ++line_;
        column_ = 1;
      } else if ((static_cast<unsigned char>(utf8_[next_]) & 0xC0) != 0x80) {
        ++column_;
      }
    }
  }
  long line() const { return line_; }
  long column() const { return column_; }

 private:
  std::string_view utf8_;
  std::size_t next_ = 0;
  long line_ = 1;
  long column_ = 1;
};

/// Builds the tree from the tags in their order.
class Builder final : public TagHandler {
 public:
  explicit Builder(std::string_view utf8) : utf8_(utf8), places_(utf8) {}

  void startElement(std::string_view name, const ParseRules::StartTag& tag,
                    std::size_t position) override {
    ElementTree& element = open_.empty() ? root_.emplace() : open_.back()->children.emplace_back();
    element.name = toUtf16(name);
    element.attributes.reserve(static_cast<std::size_t>(tag.attributeCount));
    for (int i = 0; i < tag.attributeCount; ++i) addAttribute(element, tag.attributes + 5 * i);
    // A tag has no "<" in it, so the last one before its end is where it starts.
    places_.moveTo(utf8_.rfind('<', position));
    element.line = places_.line();
    element.column = places_.column();
    // The parent gets no other child before this one is closed, so the pointer stays valid.
    open_.push_back(&element);
  }
  void endElement() override { open_.pop_back(); }
  std::optional<ElementTree> takeRoot() { return std::move(root_); }

 private:
  static void addAttribute(ElementTree& element, const xmlChar** parts) {
    const ParseRules::Attribute attribute(parts);
    std::u16string name;
    if (!attribute.prefix.empty()) name = toUtf16(attribute.prefix) + u':';
    element.attributes.push_back({name + toUtf16(attribute.name), toUtf16(attribute.value)});
  }

  std::string_view utf8_;
  PlaceCounter places_;
  std::optional<ElementTree> root_;
  std::vector<ElementTree*> open_;
};

}  // namespace

ElementsRead readElements(std::u16string_view text) {
  ParseFault fault;
  ElementsRead out;
  if (const std::optional<std::string> utf8 = documentBytes(text, fault)) {
    Builder builder(*utf8);
    fault = parseTags(*utf8, builder);
    if (fault.code >= 0) out.root = builder.takeRoot();
  }
  out.reason = toUtf16(fault.reason);
  out.line = fault.line;
  out.column = fault.position;
  return out;
}

}  // namespace qx::xml
