#include "qxframework/xml/element_tree.h"

#include "qxframework/automation/text.h"
#include "qxframework/automation/text_place.h"
#include "qxframework/xml/internal/parse.h"
#include "qxframework/xml/internal/parse_rules.h"
#include "qxframework/xml/internal/utf.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace qx::xml {
namespace {

/// Builds the tree from the tags in their order. Texts and attributes go into `memory`, which takes
/// blocks only: a form of 200 items has about 6,000 of them.
class Builder final : public TagHandler {
 public:
  Builder(std::string_view utf8, std::pmr::memory_resource& memory)
      : utf8_(utf8), places_(utf8), memory_(memory) {}

  void startElement(std::string_view name, const ParseRules::StartTag& tag,
                    std::size_t position) override {
    ElementTree& element = open_.empty() ? root_.emplace() : open_.back()->children.emplace_back();
    element.name = keep(name);
    element.attributes = attributesOf(tag);
    const TextPlace place = places_.at(startOfTag(position));
    element.line = static_cast<long>(place.line);
    element.column = static_cast<long>(place.column);
    // The parent gets no other child before this one is closed, so the pointer stays valid.
    open_.push_back(&element);
  }
  void endElement() override { open_.pop_back(); }
  std::optional<ElementTree> takeRoot() { return std::move(root_); }

 private:
  template <class T>
  T* allocate(std::size_t count) {
    return static_cast<T*>(memory_.allocate(count * sizeof(T), alignof(T)));
  }

  std::span<const ElementTree::Attribute> attributesOf(const ParseRules::StartTag& tag) {
    const auto count = static_cast<std::size_t>(tag.attributeCount);
    auto* const out = allocate<ElementTree::Attribute>(count);
    for (std::size_t i = 0; i < count; ++i) {
      const ParseRules::Attribute attribute(tag.attributes + 5 * i);
      std::construct_at(out + i, ElementTree::Attribute{nameOf(attribute), keep(attribute.value)});
    }
    return {out, count};
  }

  std::u16string_view nameOf(const ParseRules::Attribute& attribute) {
    if (attribute.prefix.empty()) return keep(attribute.name);
    return keep(std::string(attribute.prefix).append(":").append(attribute.name));
  }

  // Returns the start of the tag of which `position` is a byte. A tag has no "<" in it, so the last
  // one is where it starts. memrchr looks at a block of bytes at once, rfind at each byte.
  std::size_t startOfTag(std::size_t position) const {
    const void* const start = memrchr(utf8_.data(), '<', std::min(position, utf8_.size()));
    return static_cast<std::size_t>(static_cast<const char*>(start) - utf8_.data());
  }

  // Returns a copy that lives as long as the elements.
  std::u16string_view keep(std::string_view text) {
    auto* const units = allocate<char16_t>(text.size());
    // The parser passes well-formed texts only.
    return {units, writeUtf16(text, units).value_or(0)};
  }

  std::string_view utf8_;
  PlaceCounter<char> places_;
  std::pmr::memory_resource& memory_;
  std::optional<ElementTree> root_;
  std::vector<ElementTree*> open_;
};

}  // namespace

ElementsRead readElements(std::u16string_view text) {
  ParseFault fault;
  ElementsRead out;
  if (const std::optional<std::string> utf8 = documentBytes(text, fault)) {
    out.memory = std::make_unique<std::pmr::monotonic_buffer_resource>(2 * utf8->size());
    Builder builder(*utf8, *out.memory);
    fault = parseTags(*utf8, builder);
    if (fault.code >= 0) out.root = builder.takeRoot();
  }
  out.reason = toUtf16(fault.reason);
  out.line = fault.line;
  out.column = fault.position;
  return out;
}

}  // namespace qx::xml
