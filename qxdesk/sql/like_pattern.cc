#include "qxdesk/sql/like_pattern.h"

#include "qxframework/automation/utf.h"

#include <algorithm>
#include <cstddef>
#include <span>
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

bool LikeElement::isCharacter() const {
  return kind == Set && !negated && ranges.size() == 1 && ranges[0].first == ranges[0].second;
}

std::vector<LikeElement> likeElements(std::string_view pattern, LikeSets sets,
                                      std::optional<char32_t> escape) {
  return Compiler(pattern, sets, escape).run();
}

namespace {

using Elements = std::span<const LikeElement>;
using Characters = std::span<const char32_t>;

// A search for the pieces of a pattern that are between its %.
class Search {
 public:
  explicit Search(const StopAsked& stop) : stop_(stop) {}

  static bool matchesAt(Elements piece, Characters text, std::size_t at) {
    for (std::size_t i = 0; i < piece.size(); ++i) {
      if (!piece[i].takes(text[at + i])) return false;
    }
    return true;
  }

  // Returns the end of the first match in `text`, or nothing.
  std::optional<std::size_t> find(Elements piece, Characters text) {
    if (piece.size() > text.size()) return std::nullopt;
    const bool plain = std::ranges::all_of(piece, &LikeElement::isCharacter);
    return plain ? findPlain(piece, text) : findAny(piece, text);
  }

 private:
  std::optional<std::size_t> findAny(Elements piece, Characters text) {
    for (std::size_t at = 0; at + piece.size() <= text.size(); ++at) {
      count(piece.size());
      if (matchesAt(piece, text, at)) return at + piece.size();
    }
    return std::nullopt;
  }

  // After Knuth, Morris and Pratt: no character of the text is looked at twice.
  std::optional<std::size_t> findPlain(Elements piece, Characters text) {
    const std::vector<std::size_t> back = fallbacks(piece);
    std::size_t matched = 0;
    for (std::size_t at = 0; at < text.size() && matched < piece.size(); ++at) {
      count(1);
      while (matched > 0 && !piece[matched].takes(text[at])) matched = back[matched - 1];
      if (piece[matched].takes(text[at])) ++matched;
      if (matched == piece.size()) return at + 1;
    }
    return piece.empty() ? std::optional<std::size_t>(0) : std::nullopt;
  }

  // Returns for each beginning of the piece the length of the longest shorter one that ends it.
  static std::vector<std::size_t> fallbacks(Elements piece) {
    std::vector<std::size_t> back(piece.size());
    std::size_t length = 0;
    for (std::size_t i = 1; i < piece.size(); ++i) {
      const char32_t c = piece[i].ranges[0].first;
      while (length > 0 && !piece[length].takes(c)) length = back[length - 1];
      if (piece[length].takes(c)) ++length;
      back[i] = length;
    }
    return back;
  }

  void count(std::size_t steps) {
    constexpr std::size_t kStepsBetweenQuestions = 1 << 16;
    steps_ += steps;
    if (steps_ < kStepsBetweenQuestions) return;
    steps_ = 0;
    if (stop_ && stop_()) throw LikeStopped();
  }

  const StopAsked& stop_;
  std::size_t steps_ = 0;
};

// Returns the pieces of a pattern between its %; one % more than once is like one.
std::vector<Elements> piecesOf(const std::vector<LikeElement>& elements) {
  std::vector<Elements> pieces;
  auto begin = elements.begin();
  for (auto at = elements.begin();; ++at) {
    if (at != elements.end() && at->kind != LikeElement::Any) continue;
    pieces.emplace_back(begin, at);
    if (at == elements.end()) return pieces;
    begin = at + 1;
  }
}

}  // namespace

// The first piece is at the start of the text and the last one at its end. Each of the others is
// taken where it is found first, since that leaves the most for those that follow.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape, const StopAsked& stop) {
  const std::vector<LikeElement> elements = likeElements(pattern, sets, escape);
  const std::vector<char32_t> characters = decoded(text);
  const std::vector<Elements> pieces = piecesOf(elements);
  Characters rest(characters);
  const Elements first = pieces.front();
  if (pieces.size() == 1) return first.size() == rest.size() && Search::matchesAt(first, rest, 0);
  const Elements last = pieces.back();
  if (first.size() + last.size() > rest.size() || !Search::matchesAt(first, rest, 0) ||
      !Search::matchesAt(last, rest, rest.size() - last.size())) {
    return false;
  }
  rest = rest.subspan(first.size(), rest.size() - first.size() - last.size());
  Search search(stop);
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    const std::optional<std::size_t> end = search.find(pieces[i], rest);
    if (!end) return false;
    rest = rest.subspan(*end);
  }
  return true;
}

std::size_t characterCount(std::string_view text) { return decoded(text).size(); }

}  // namespace qx::sql
