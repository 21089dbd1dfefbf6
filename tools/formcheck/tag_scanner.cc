#include "tools/formcheck/tag_scanner.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text_place.h"

#include <utility>

namespace qx::formcheck {
namespace {

constexpr std::size_t kEnd = std::u16string_view::npos;

class Scanner {
 public:
  explicit Scanner(std::u16string_view text) : text_(text), places_(text) {}

  std::vector<ScannedTag> run() {
    std::vector<ScannedTag> tags;
    for (moveTo(u"<"); at_ < text_.size(); moveTo(u"<")) {
      if (pass(u"<!--", u"-->") || pass(u"<![CDATA[", u"]]>") || pass(u"<?", u"?>")) continue;
      if (pass(u"</", u">")) continue;
      if (isAt(u"<!")) {
        passDocumentType();
      } else {
        tags.push_back(readTag());
      }
    }
    return tags;
  }

 private:
  bool isAt(std::u16string_view part) const { return text_.substr(at_).starts_with(part); }
  char16_t unit() const { return at_ < text_.size() ? text_[at_] : u'\0'; }

  // Moves to the next occurrence of `part`, or to the end.
  void moveTo(std::u16string_view part) {
    const std::size_t found = text_.find(part, at_);
    at_ = found == kEnd ? text_.size() : found;
  }
  void movePast(std::u16string_view part) {
    moveTo(part);
    if (at_ < text_.size()) at_ += part.size();
  }
  bool pass(std::u16string_view begin, std::u16string_view end) {
    if (!isAt(begin)) return false;
    at_ += begin.size();
    movePast(end);
    return true;
  }
  void passQuoted() {
    const char16_t quote[] = {unit(), u'\0'};
    ++at_;
    movePast(quote);
  }
  void passSpace() {
    while (at_ < text_.size() && isSpace(text_[at_])) ++at_;
  }

  // A declaration in the brackets ends with ">" as well, so the brackets are counted. Quotes and
  // comments may hold any of these characters.
  void passDocumentType() {
    int depth = 0;
    ++at_;
    while (at_ < text_.size()) {
      if (pass(u"<!--", u"-->") || pass(u"<?", u"?>")) continue;
      if (unit() == u'"' || unit() == u'\'') {
        passQuoted();
        continue;
      }
      if (unit() == u'[') ++depth;
      if (unit() == u']') --depth;
      if (text_[at_++] == u'>' && depth == 0) return;
    }
  }

  std::u16string readName() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && !isSpace(text_[at_]) && text_[at_] != u'=' && text_[at_] != u'/' &&
           text_[at_] != u'>') {
      ++at_;
    }
    return std::u16string(text_.substr(begin, at_ - begin));
  }

  ScannedTag readTag() {
    ScannedTag tag;
    tag.place = places_.at(at_);
    ++at_;
    tag.name = readName();
    for (passSpace(); at_ < text_.size() && unit() != u'>' && unit() != u'/'; passSpace()) {
      ScannedAttribute attribute;
      attribute.place = places_.at(at_);
      attribute.name = readName();
      passSpace();
      ++at_;  // the equals sign
      passSpace();
      attribute.valuePlace = places_.at(at_ + 1);
      passQuoted();
      tag.attributes.push_back(std::move(attribute));
    }
    return tag;
  }

  std::u16string_view text_;
  PlaceCounter<char16_t> places_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<ScannedTag> scanTags(std::u16string_view text) { return Scanner(text).run(); }

}  // namespace qx::formcheck
