#include "qxdesk/screens/batch/element_places.h"

namespace qx::screens {
namespace {

// Returns places for positions that only move forward, so that the text is counted once.
class PlaceCounter {
 public:
  explicit PlaceCounter(std::u16string_view text) : text_(text) {}
  Place at(std::size_t position) {
    for (; next_ < position; ++next_) {
      if (text_[next_] == u'\n') {
        place_ = {place_.line + 1, 1};
      } else if (!isLowSurrogate(text_[next_])) {
        ++place_.column;
      }
    }
    return place_;
  }

 private:
  static bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

  std::u16string_view text_;
  std::size_t next_ = 0;
  Place place_{1, 1};
};

class Scanner {
 public:
  explicit Scanner(std::u16string_view text) : text_(text), places_(text) {}

  std::vector<Place> run() {
    std::vector<Place> out;
    for (moveTo(u"<"); at_ < text_.size(); moveTo(u"<")) {
      if (pass(u"<!--", u"-->") || pass(u"<![CDATA[", u"]]>") || pass(u"<?", u"?>")) continue;
      if (pass(u"</", u">")) continue;
      // What is left with an exclamation mark is the document type.
      if (!isAt(u"<!")) out.push_back(places_.at(at_));
      passMarkup();
    }
    return out;
  }

 private:
  bool isAt(std::u16string_view part) const { return text_.substr(at_).starts_with(part); }
  // Moves to the next occurrence of `part`, or to the end.
  void moveTo(std::u16string_view part) {
    const std::size_t found = text_.find(part, at_);
    at_ = found == text_.npos ? text_.size() : found;
  }
  bool pass(std::u16string_view begin, std::u16string_view end) {
    if (!isAt(begin)) return false;
    at_ += begin.size();
    moveTo(end);
    if (at_ < text_.size()) at_ += end.size();
    return true;
  }
  // Moves past the ">" of a start tag or of a document type. The second may hold declarations in
  // brackets, each of which ends with ">" as well; a start tag has no bracket outside of quotes.
  void passMarkup() {
    int depth = 0;
    ++at_;
    while (at_ < text_.size()) {
      if (pass(u"\"", u"\"") || pass(u"'", u"'")) continue;
      if (pass(u"<!--", u"-->") || pass(u"<?", u"?>")) continue;
      const char16_t unit = text_[at_++];
      if (unit == u'[') ++depth;
      if (unit == u']') --depth;
      if (unit == u'>' && depth == 0) return;
    }
  }

  std::u16string_view text_;
  PlaceCounter places_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<Place> elementPlaces(std::u16string_view text) { return Scanner(text).run(); }

}  // namespace qx::screens
