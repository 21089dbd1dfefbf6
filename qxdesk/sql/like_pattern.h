#pragma once

// LIKE patterns: case counts, % stands for any number of characters and _ for one. In patterns with
// sets, [a-z] stands for one character of a set and [^a-z] for one outside of it.

#include <cstdint>
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
};

/// Returns the elements of a pattern in order; for the arguments see likeMatches().
std::vector<LikeElement> likeElements(std::string_view pattern, LikeSets sets,
                                      std::optional<char32_t> escape);

/// Returns true if the whole `text` matches `pattern`. The character after `escape` stands for
/// itself. A set that is not closed is a plain "[". Takes at most |text| x |pattern| steps.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape);

}  // namespace qx::sql
