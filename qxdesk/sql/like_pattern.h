#pragma once

// LIKE patterns: case counts, % stands for any number of characters and _ for one. In patterns with
// sets, [a-z] stands for one character of a set and [^a-z] for one outside of it.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::sql {

enum class LikeSets { Off, On };

struct LikeElement {
  enum Kind { Any, One, Set } kind = Set;
  bool negated = false;
  std::vector<std::pair<char32_t, char32_t>> ranges;  // of a set; a plain character is one range

  bool takes(char32_t c) const;
  /// True if it stands for one certain character.
  bool isCharacter() const;
};

/// The longest pattern that a statement may use, in characters.
inline constexpr std::size_t kLongestLikePattern = 4000;
inline constexpr const char* kLikePatternTooLong = "a LIKE pattern has at most 4000 characters";

/// Asked from time to time in a long search; true gives it up.
using StopAsked = std::function<bool()>;
/// Thrown by a search that was given up.
struct LikeStopped {};

/// Returns the elements of a pattern in order; for the arguments see likeMatches().
std::vector<LikeElement> likeElements(std::string_view pattern, LikeSets sets,
                                      std::optional<char32_t> escape);

/// Returns true if the whole `text` matches `pattern`. The character after `escape` stands for
/// itself. A set that is not closed is a plain "[". The time grows with |text| + |pattern|, but for
/// pieces between two % that have a _ or a set: for these with |text| x |piece|. Throws
/// LikeStopped.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape, const StopAsked& stop = {});

/// Returns the number of characters of a text; a byte that is not UTF-8 counts as one.
std::size_t characterCount(std::string_view text);

}  // namespace qx::sql
