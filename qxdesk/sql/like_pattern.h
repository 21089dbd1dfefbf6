// LIKE as the engines have it: case counts, % stands for any characters, _ for one; in patterns
// with sets, [a-z] stands for one of a set and [^a-z] for one outside of it.
#pragma once

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
  std::vector<std::pair<char32_t, char32_t>> ranges;  // of a set; a plain character is a range

  bool takes(char32_t c) const;
};

// What a pattern says, element by element; see likeMatches().
std::vector<LikeElement> likeElements(std::string_view pattern, LikeSets sets,
                                      std::optional<char32_t> escape);

// Whether `text` matches `pattern`. The character behind `escape`, where given, stands for itself.
// A set that is not closed is a plain "[". Takes at most |text| x |pattern| steps.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape);

}  // namespace qx::sql
