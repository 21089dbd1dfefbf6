#include "qxdesk/sql/like_pattern.h"

#include "qxframework/automation/utf.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace qx::sql {
namespace {

// Returns the characters of a text. A byte that is not UTF-8 becomes a value beyond U+10FFFF, which
// equals no character.
std::vector<char32_t> decoded(std::string_view text) {
  std::vector<char32_t> characters;
  for (std::size_t i = 0; i < text.size();) {
    const auto character = codePointAt(text, i);
    characters.push_back(character ? character->value
                                   : 0x110000U + static_cast<unsigned char>(text[i]));
    i += character ? character->length : 1;
  }
  return characters;
}

class Compiler {
 public:
  Compiler(std::string_view pattern, LikeSets sets, std::optional<char32_t> escape)
      : pattern_(decoded(pattern)),
        sets_(sets),
        escape_(escape),
        closedBefore_(afterLastBracket()) {}

  std::vector<LikeElement> run() {
    std::vector<LikeElement> elements;
    while (next_ < pattern_.size()) elements.push_back(element());
    return elements;
  }

 private:
  LikeElement element() {
    const char32_t c = pattern_[next_++];
    // An escape character at the end of the pattern stands for itself.
    if (escape_ && c == *escape_ && next_ < pattern_.size()) return plain(pattern_[next_++]);
    if (c == '%') return {.kind = LikeElement::Any, .ranges = {}};
    if (c == '_') return {.kind = LikeElement::One, .ranges = {}};
    if (c == '[' && sets_ == LikeSets::On && closes()) return set();
    return plain(c);
  }

  static LikeElement plain(char32_t c) { return {.kind = LikeElement::Set, .ranges = {{c, c}}}; }

  // The last ] is found once: a search at every [ would take quadratic time in a pattern of many [.
  bool closes() const { return next_ < closedBefore_; }

  std::size_t afterLastBracket() const {
    const auto last = std::find(pattern_.rbegin(), pattern_.rend(), U']');
    return static_cast<std::size_t>(pattern_.rend() - last);
  }

  // A ] always follows, see closes(). A - before it is a plain member of the set.
  LikeElement set() {
    LikeElement element;
    if (pattern_[next_] == '^') {
      element.negated = true;
      ++next_;
    }
    while (pattern_[next_] != ']') {
      const char32_t low = pattern_[next_++];
      char32_t high = low;
      const bool range =
          next_ + 1 < pattern_.size() && pattern_[next_] == '-' && pattern_[next_ + 1] != ']';
      if (range) {
        high = pattern_[next_ + 1];
        next_ += 2;
      }
      element.ranges.emplace_back(low, high);
    }
    ++next_;
    return element;
  }

  std::vector<char32_t> pattern_;
  LikeSets sets_;
  std::optional<char32_t> escape_;
  std::size_t closedBefore_;  // the offset after the last ]; 0 if there is none
  std::size_t next_ = 0;
};

}  // namespace

bool LikeElement::takes(char32_t c) const {
  if (kind != Set) return true;
  const bool found = std::any_of(ranges.begin(), ranges.end(), [c](const auto& range) {
    return range.first <= c && c <= range.second;
  });
  return found != negated;
}

std::vector<LikeElement> likeElements(std::string_view pattern, LikeSets sets,
                                      std::optional<char32_t> escape) {
  return Compiler(pattern, sets, escape).run();
}

// On a mismatch only the last % is tried again, one character later. An earlier % never needs
// another try, since the last one can take whatever the earlier one would have taken. So the time
// is bounded by |text| x |pattern|, where a recursive match would need exponential time.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape) {
  const std::vector<LikeElement> elements = likeElements(pattern, sets, escape);
  const std::vector<char32_t> characters = decoded(text);
  std::size_t element = 0;
  std::size_t character = 0;
  std::optional<std::size_t> lastAny;
  std::size_t resume = 0;
  while (character < characters.size()) {
    if (element < elements.size() && elements[element].kind == LikeElement::Any) {
      lastAny = element++;
      resume = character;
    } else if (element < elements.size() && elements[element].takes(characters[character])) {
      ++element;
      ++character;
    } else if (lastAny) {
      element = *lastAny + 1;
      character = ++resume;
    } else {
      return false;
    }
  }
  while (element < elements.size() && elements[element].kind == LikeElement::Any) ++element;
  return element == elements.size();
}

}  // namespace qx::sql
