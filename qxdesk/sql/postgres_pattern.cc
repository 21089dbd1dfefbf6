#include "qxdesk/sql/postgres_pattern.h"

#include "qxdesk/sql/like_pattern.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/utf.h"

#include <array>
#include <cstdio>
#include <optional>

namespace qx::sql {
namespace {

// An escape by number is valid inside and outside of a set and never has a meaning of its own.
std::string codePoint(char32_t c) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "\\U%08X", static_cast<unsigned>(c));
  return text.data();
}

// A regular expression has no empty set, since a ] right after [ is a member. The set of no
// character is the negation of this range.
constexpr std::string_view kEveryCharacter = "\\U00000001-\\U0010FFFF";

std::optional<char32_t> characterOf(std::string_view escape) {
  const auto character = codePointAt(escape, 0);
  return character ? std::optional(character->value) : std::nullopt;
}

// A range from a higher to a lower character has no member. The engine would refuse it.
std::string setRegex(const LikeElement& set) {
  std::string members;
  for (const auto& [low, high] : set.ranges) {
    if (low > high) continue;
    members += codePoint(low);
    if (low < high) members += "-" + codePoint(high);
  }
  if (members.empty()) {
    return (set.negated ? "[" : "[^") + std::string(kEveryCharacter) + "]";
  }
  return (set.negated ? "[^" : "[") + members + "]";
}

std::string plainRegex(char32_t c) {
  const bool plain = isLetterOrDigit(c) || c == ' ' || c == '_' || c == '@' || c == '/';
  return plain ? std::string(1, static_cast<char>(c)) : codePoint(c);
}

// The query cuts the pattern into its elements, writes each of them as the functions above do and
// joins them in order. In contrast to a literal pattern, a range from a higher to a lower character
// is an error of the engine.
constexpr std::string_view kQueryStart =
    R"((SELECT '^(?:' || CASE WHEN p = '' THEN '' ELSE (SELECT string_agg(CASE )";
constexpr std::string_view kQueryElements =
    R"(WHEN m[1] = '%' THEN '.*' WHEN m[1] = '_' THEN '.' )"
    R"(WHEN m[1] = '[]' THEN '[^\U00000001-\U0010FFFF]' WHEN m[1] = '[^]' THEN '.' )"
    R"(WHEN length(m[1]) > 1 THEN '[' || regexp_replace(substr(m[1], 2), '([[\\])', '\\\1', 'g') )"
    R"(ELSE '\U' || lpad(to_hex(ascii(m[1])), 8, '0') END, '' ORDER BY n) )"
    R"(FROM regexp_matches(p, '()";
constexpr std::string_view kQueryEnd =
    R"(.)', 'g') WITH ORDINALITY AS e (m, n)) END || ')$' FROM (VALUES ()";

}  // namespace

std::string escapedByBackslash(std::string_view pattern, std::string_view escape) {
  std::string result;
  for (const LikeElement& element : likeElements(pattern, LikeSets::Off, characterOf(escape))) {
    if (element.kind == LikeElement::Any) {
      result += '%';
    } else if (element.kind == LikeElement::One) {
      result += '_';
    } else {
      const char32_t c = element.ranges[0].first;
      if (c == '%' || c == '_' || c == '\\') result += '\\';
      appendCodePoint(result, c);
    }
  }
  return result;
}

std::string postgresRegex(std::string_view pattern, std::string_view escape) {
  // LIKE matches whole texts, but ~ finds any part, hence the anchors.
  std::string result = "^(?:";
  for (const LikeElement& element : likeElements(pattern, LikeSets::On, characterOf(escape))) {
    if (element.kind == LikeElement::Any) {
      result += ".*";
    } else if (element.kind == LikeElement::One) {
      result += '.';
    } else {
      result += element.isCharacter() ? plainRegex(element.ranges[0].first) : setRegex(element);
    }
  }
  return result + ")$";
}

PatternQuery postgresPatternQuery(std::string_view escape) {
  const std::optional<char32_t> character = characterOf(escape);
  std::string before(kQueryStart);
  std::string elements;
  if (character) {
    before += "WHEN length(m[1]) > 1 AND left(m[1], 1) = chr(" +
              std::to_string(static_cast<unsigned>(*character)) +
              R"() THEN '\U' || lpad(to_hex(ascii(substr(m[1], 2))), 8, '0') )";
    elements = codePoint(*character) + ".|";
  }
  // If [ is the escape character, it cannot begin a set.
  if (character != U'[') elements += R"(\[[^]]*\]|)";
  before += kQueryElements;
  before += elements;
  before += kQueryEnd;
  return {.before = before, .after = ")) AS q (p))"};
}

}  // namespace qx::sql
