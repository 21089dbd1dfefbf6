// LIKE as the engines have it: case counts, % stands for any characters, _ for one; in patterns
// with sets, [a-z] stands for one of a set and [^a-z] for one outside of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qx::sql {

enum class LikeSets { Off, On };

// Whether `text` matches `pattern`. The character behind `escape`, where given, stands for itself.
// A set that is not closed is a plain "[". Takes at most |text| x |pattern| steps.
bool likeMatches(std::string_view text, std::string_view pattern, LikeSets sets,
                 std::optional<char32_t> escape);

}  // namespace qx::sql
