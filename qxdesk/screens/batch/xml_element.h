#pragma once

// An element of a batch document. Names of elements and attributes are compared without case, since
// documents write them in either case; all names that are passed here are in lower case.

#include "qxdesk/screens/batch/place.h"
#include "qxframework/xml/element_tree.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::screens {

/// Borrows an element, whose document must live longer, and all texts that it returns.
class XmlElement {
 public:
  class Children;

  explicit XmlElement(const xml::ElementTree& element) : element_(&element) {}

  /// Returns the name without its prefix, in lower case.
  std::u16string name() const;
  /// True if that is the name.
  bool is(std::u16string_view name) const;
  /// Returns the place of the start tag in the text of the document.
  Place place() const { return {element_->line, element_->column}; }
  /// Returns the value, or nothing if there is no such attribute. Of two attributes whose names
  /// differ in case only, the first counts.
  std::optional<std::u16string_view> attribute(std::u16string_view name) const;
  /// Returns the value, or an empty text if there is no such attribute.
  std::u16string_view text(std::u16string_view name) const { return attribute(name).value_or(u""); }
  /// Copies the value to `out`, which stays as it is if there is no such attribute.
  void read(std::u16string_view name, std::u16string& out) const;
  bool has(std::u16string_view name) const { return attribute(name).has_value(); }
  /// Returns the child elements in document order.
  Children children() const;
  /// Returns the child elements with that name.
  Children children(std::u16string_view name) const;

 private:
  const xml::ElementTree* element_;
};

/// Child elements to iterate over: all of them, or those with a name.
class XmlElement::Children {
 public:
  class Iterator {
   public:
    Iterator(const Children& children, const xml::ElementTree* at) : children_(children), at_(at) {
      passOthers();
    }
    XmlElement operator*() const { return XmlElement(*at_); }
    Iterator& operator++() {
      ++at_;
      passOthers();
      return *this;
    }
    bool operator==(const Iterator& other) const { return at_ == other.at_; }

   private:
    void passOthers() {
      while (at_ != children_.end_ && children_.name_ && !XmlElement(*at_).is(*children_.name_)) {
        ++at_;
      }
    }

    const Children& children_;
    const xml::ElementTree* at_;
  };

  Children(const xml::ElementTree& parent, std::optional<std::u16string_view> name)
      : begin_(parent.children.data()), end_(begin_ + parent.children.size()), name_(name) {}

  Iterator begin() const { return {*this, begin_}; }
  Iterator end() const { return {*this, end_}; }

 private:
  const xml::ElementTree* begin_;
  const xml::ElementTree* end_;
  std::optional<std::u16string_view> name_;
};

inline XmlElement::Children XmlElement::children() const { return {*element_, std::nullopt}; }
inline XmlElement::Children XmlElement::children(std::u16string_view name) const {
  return {*element_, name};
}

}  // namespace qx::screens
